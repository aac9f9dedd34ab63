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

/// What a buffered write takes when it fails.
enum class OnFailure {
    ReportCount,  ///< As many bytes as possible.
    TakeNothing   ///< None of it has been taken, unless it is longer than the buffer.
};

/// An open file, with a buffer if its mode asks for one; or none.
///
/// The buffer holds either bytes read ahead or bytes yet to be written. `cursor_` is the next byte
/// to be taken from it or put into it, and `readable_` and `writable_` are how many follow before a
/// system call is needed. Both are 0 while the stream is closed or unbuffered.
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
    /// Closes an open file and ignores the result. In a forked copy of the process, the last write
    /// and the removal are left to the process that owns them.
    ~FileStream();

    /// Takes over a newly opened file. None must be open.
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
    /// Whether a read has reached the end of the file since the position was last set.
    bool HasMetEnd() const noexcept { return metEnd_; }

    /// Takes `size` bytes from the buffer, if it has that many.
    bool Take(void* target, std::size_t size) noexcept {
        if (size > readable_) {
            return false;
        }
        std::memcpy(target, cursor_, size);
        cursor_ += size;
        readable_ -= static_cast<std::uint32_t>(size);
        return true;
    }

    /// Takes the next line from the buffer, if it is complete there and has at most `size` bytes.
    ///
    /// @param size receives its number of bytes, with the line feed; otherwise unchanged.
    bool TakeLine(char* target, std::size_t& size) noexcept {
        const std::size_t within = std::min<std::size_t>(size, readable_);
        const void* const feed = within > 0 ? std::memchr(cursor_, '\n', within) : nullptr;
        if (feed == nullptr) {
            return false;
        }
        size = static_cast<std::size_t>(static_cast<const char*>(feed) - cursor_) + 1;
        return Take(target, size);
    }

    /// Puts `size` bytes into the buffer, if it has room for that many.
    bool Put(const void* source, std::size_t size) noexcept {
        if (size > writable_) {
            return false;
        }
        std::memcpy(cursor_, source, size);
        cursor_ += size;
        writable_ -= static_cast<std::uint32_t>(size);
        return true;
    }

    /// Reads bytes. Buffered: `size` of them unless the file ends before; unbuffered: what one
    /// system call returns.
    ///
    /// @param size receives how many have come; 0 after a failure.
    apr_status_t Read(void* target, std::size_t& size) noexcept;

    /// Reads up to and including the next line feed, and `size` bytes at most.
    ///
    /// @param size not 0; receives how many have come; 0 after a failure.
    apr_status_t ReadLine(char* target, std::size_t& size) noexcept;

    /// Writes bytes. Buffered: all of them; unbuffered: what one system call takes.
    ///
    /// @param size receives how many have reached the file or the buffer, also after a failure.
    apr_status_t Write(const void* source, std::size_t& size, OnFailure onFailure) noexcept;

    /// Writes all bytes, even if the system takes them in pieces.
    apr_status_t WriteWhole(const char* source, std::size_t size) noexcept;

    /// Sets the position. Writes out the buffer first.
    apr_status_t Seek(platform::Origin from, long long offset) noexcept;

    /// Writes out the buffer. After a failure it holds what the system has not taken.
    apr_status_t Flush() noexcept;

    /// Writes out the buffer and waits until what was written is on disk.
    apr_status_t Sync() noexcept;

    /// Reports where the next byte is read or written. The buffer stays.
    ///
    /// @param position unchanged on failure.
    apr_status_t Position(long long& position) noexcept;

    /// Reports the length that the file has, or will have when the buffer has been written out.
    ///
    /// @param length unchanged on failure.
    apr_status_t Length(long long& length) noexcept;

    /// Truncates the file or extends it with zeros, after writing out the buffer. The position
    /// stays.
    apr_status_t SetLength(long long length) noexcept;

    /// Reads `size` bytes at `offset` unless the file ends before. The position stays. Unbuffered,
    /// any number of threads may do so at once, with `WriteAt` too.
    ///
    /// @param size receives the number of bytes read, also after a failure.
    apr_status_t ReadAt(long long offset, char* target, std::size_t& size) noexcept;

    /// Writes bytes at `offset`, all of them. Otherwise as `ReadAt`.
    apr_status_t WriteAt(long long offset, const char* source, std::size_t& size) noexcept;

    /// Locks the file; see `platform::LockWholeFile`. Fails for a stream that has a lock already.
    apr_status_t Lock(platform::LockKind kind, long long microseconds) noexcept;

    /// Releases the lock; fails without one.
    apr_status_t Unlock() noexcept;

    /// Writes out the buffer and closes the file. The stream is closed even if one of the two
    /// fails.
    apr_status_t Close() noexcept;

    /// Abandons an open file without writing to it or closing it.
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
    std::unique_ptr<char[]> buffer_;  ///< From its first use to the close.
    /// The system's position: after the bytes read ahead, or where the first byte yet to be written
    /// goes. Unknown after bytes were appended.
    long long position_ = 0;
    std::unique_ptr<zuString> removed_;
    int owner_ = kNobody;   ///< The process that must write or remove at the close, if any.
    int locker_ = kNobody;  ///< The process that holds a lock on the file.
};

}  // namespace zukel
