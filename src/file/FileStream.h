#pragma once

#include <apr_errno.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/FileLocks.h"
#include "platform/Files.h"
#include "platform/Processes.h"
#include "zuString.h"

namespace zukel {

/// What becomes of a buffered write that fails.
enum class OnFailure {
    ReportCount,  ///< As much of it as possible has been taken.
    TakeNothing   ///< None of it has been taken, unless it is longer than the buffer.
};

/// An open file, with a buffer if its mode asks for one; or none.
///
/// The buffer holds either bytes that were read ahead of the caller or bytes that are yet to be
/// written. `cursor_` is the next byte to be taken from it or put into it, and a count for each of
/// the two says how far that goes before the system has to be asked. Both counts are 0 while the
/// stream is closed or unbuffered.
///
/// Results are 0 or the reason, `APR_EOF` at the end of the file.
class FileStream {
public:
    static constexpr std::size_t kBufferSize = 16384;

    FileStream() noexcept = default;
    FileStream(FileStream&& other) noexcept { Swap(other); }
    FileStream& operator=(FileStream&& other) noexcept {
        Swap(other);
        return *this;
    }
    /// Closes an open file, dropping the result. In a forked copy of the process that wrote to it,
    /// or that is to remove it, what is left to be done is left to that process.
    ~FileStream();

    /// Takes over a file that has just been opened. None must be open.
    ///
    /// @param mode the `APR_FOPEN_` flags that it was opened with.
    /// @param removed the name to remove when the file has been closed, or null; see
    /// `platform::RemoveClosed`.
    void Begin(platform::FileHandle file, int mode, std::unique_ptr<zuString> removed) noexcept {
        file_ = std::move(file);
        mode_ = mode;
        removed_ = std::move(removed);
        owner_ = removed_ != nullptr ? platform::CurrentProcess() : kNobody;
    }

    bool IsOpen() const noexcept { return static_cast<bool>(file_); }
    int Mode() const noexcept { return mode_; }
    /// Whether a read has met the end of the file since the position was last set.
    bool HasMetEnd() const noexcept { return metEnd_; }

    /// Takes `size` bytes from the buffer, if it has so many.
    bool Take(void* target, std::size_t size) noexcept {
        if (size > readable_) {
            return false;
        }
        std::memcpy(target, cursor_, size);
        cursor_ += size;
        readable_ -= static_cast<std::uint32_t>(size);
        return true;
    }

    /// Takes the next line from the buffer, if it is there as a whole and has at most `size` bytes.
    ///
    /// @param size receives how many bytes it has, with its line feed; otherwise unchanged.
    bool TakeLine(char* target, std::size_t& size) noexcept {
        const std::size_t within = std::min<std::size_t>(size, readable_);
        const void* const feed = within > 0 ? std::memchr(cursor_, '\n', within) : nullptr;
        if (feed == nullptr) {
            return false;
        }
        size = static_cast<std::size_t>(static_cast<const char*>(feed) - cursor_) + 1;
        return Take(target, size);
    }

    /// Puts `size` bytes into the buffer, if it has room for so many.
    bool Put(const void* source, std::size_t size) noexcept {
        if (size > writable_) {
            return false;
        }
        std::memcpy(cursor_, source, size);
        cursor_ += size;
        writable_ -= static_cast<std::uint32_t>(size);
        return true;
    }

    /// Reads bytes. Buffered: `size` of them unless the file ends before; unbuffered: what one call
    /// of the system gives.
    ///
    /// @param size receives how many have come; 0 after a failure.
    apr_status_t Read(void* target, std::size_t& size) noexcept;

    /// Reads up to and including the next line feed, and `size` bytes at most.
    ///
    /// @param size not 0; receives how many have come; 0 after a failure.
    apr_status_t ReadLine(char* target, std::size_t& size) noexcept;

    /// Writes bytes. Buffered: all of them; unbuffered: what one call of the system takes.
    ///
    /// @param size receives how many have reached the file or the buffer, after a failure too.
    apr_status_t Write(const void* source, std::size_t& size, OnFailure onFailure) noexcept;

    /// Writes all of the bytes, also where the system takes them in pieces.
    apr_status_t WriteWhole(const char* source, std::size_t size) noexcept;

    /// Sets the position. Writes out the buffer first.
    apr_status_t Seek(platform::Origin from, long long offset) noexcept;

    /// Writes out the buffer. After a failure it holds what the system has not taken.
    apr_status_t Flush() noexcept;

    /// Writes out the buffer and waits until what was written is on the disk.
    apr_status_t Sync() noexcept;

    /// Tells where the next byte is read or written. The buffer stays.
    ///
    /// @param position unchanged on failure.
    apr_status_t Position(long long& position) noexcept;

    /// Tells how long the file is, or will be when the buffer has been written out.
    ///
    /// @param length unchanged on failure.
    apr_status_t Length(long long& length) noexcept;

    /// Truncates the file or extends it by zeros, after writing out the buffer. The position stays.
    apr_status_t SetLength(long long length) noexcept;

    /// Reads `size` bytes at `offset` unless the file ends before. The position stays. Unbuffered,
    /// any number of threads may do so at once, with `WriteAt` too.
    ///
    /// @param size receives how many have come, after a failure too.
    apr_status_t ReadAt(long long offset, char* target, std::size_t& size) noexcept;

    /// Writes bytes at `offset`, all of them. Otherwise as `ReadAt`.
    apr_status_t WriteAt(long long offset, const char* source, std::size_t& size) noexcept;

    /// Locks the file against everybody else who asks; see `platform::LockWholeFile`. A stream that
    /// has a lock gets no other one.
    apr_status_t Lock(platform::LockKind kind, long long microseconds) noexcept;

    /// Gives the lock back; fails without one.
    apr_status_t Unlock() noexcept;

    /// Writes out the buffer and closes the file, which is gone also when one of the two fails.
    apr_status_t Close() noexcept;

    /// Lets go of an open file without writing to it or closing it.
    void Abandon() noexcept;

private:
    void Swap(FileStream& other) noexcept;
    bool Has(int flag) const noexcept { return (mode_ & flag) != 0; }
    void EmptyBuffer() noexcept;
    apr_status_t LeaveBuffer() noexcept;
    apr_status_t NeedBuffer() noexcept;
    apr_status_t BeginWriting() noexcept;
    apr_status_t ReadPast(void* target, std::size_t& size) noexcept;
    apr_status_t WritePast(const char* source, std::size_t& size) noexcept;
    apr_status_t Refill() noexcept;
    apr_status_t ReadBuffered(char* target, std::size_t& size) noexcept;
    apr_status_t WriteBuffered(const char* source, std::size_t& size, OnFailure onFailure) noexcept;
    apr_status_t ReadLineBuffered(char* target, std::size_t& size) noexcept;
    apr_status_t ReadLineUnbuffered(char* target, std::size_t& size) noexcept;

    static constexpr long long kUnknown = -1;
    static constexpr int kNobody = 0;

    platform::FileHandle file_;
    int mode_ = 0;
    bool metEnd_ = false;
    bool readsAhead_ = false;     ///< `platform::MayReadAhead`, once that was true.
    std::uint32_t readable_ = 0;  ///< Bytes from `cursor_` on that were read ahead.
    std::uint32_t writable_ = 0;  ///< Room from `cursor_` on for bytes yet to be written.
    char* cursor_ = nullptr;
    char* unwritten_ = nullptr;       ///< The first byte yet to be written. Null while reading.
    std::unique_ptr<char[]> buffer_;  ///< From the first need to the close.
    /// Where the system reads and writes next: behind what was read ahead, or where the first byte
    /// yet to be written goes. Unknown after bytes were appended.
    long long position_ = 0;
    std::unique_ptr<zuString> removed_;
    int owner_ = kNobody;   ///< The process that has something to do at the end, once it has.
    int locker_ = kNobody;  ///< The process that holds a lock on the file.
};

}  // namespace zukel
