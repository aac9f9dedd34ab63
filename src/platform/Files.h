#pragma once

#include <apr_errno.h>

#include <cstddef>
#include <cstdint>
#include <utility>

/// What the portable code asks of the platform about open files. Plain functions, chosen at link
/// time: one folder below this one implements each of them. All of them repeat a system call that a
/// signal has interrupted.
namespace zukel::platform {

/// An open file of the system, or none. It is closed with the object, and does not reach child
/// processes from the call that opens it on.
class FileHandle {
public:
    /// A descriptor (Linux) or a handle (Windows).
    using Native = std::intptr_t;

    FileHandle() noexcept = default;
    explicit FileHandle(Native native) noexcept : native_(native) {}
    ~FileHandle();
    FileHandle(FileHandle&& other) noexcept : native_(other.Release()) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(native_, other.native_);
        return *this;
    }

    explicit operator bool() const noexcept { return native_ != kNone; }
    Native Get() const noexcept { return native_; }
    /// Hands the file over: it is not closed any more.
    Native Release() noexcept { return std::exchange(native_, kNone); }

private:
    static constexpr Native kNone = -1;  // also what Windows gives for a handle that it has not
    Native native_ = kNone;
};

/// Opens a file.
///
/// @param name the caller's bytes.
/// @param mode `APR_FOPEN_` flags, with the meaning that `apr_file_open` gives them: `APR_EACCES`
/// without a right to read or write, and with `APR_FOPEN_EXCL` but without `APR_FOPEN_CREATE`.
/// Buffering is the caller's, and so is the removal that `APR_FOPEN_DELONCLOSE` asks for where
/// `RemoveClosed` does it. With `APR_FOPEN_APPEND` every write goes to the end of the file,
/// whoever else writes, in one step of the system. Windows: the name is UTF-8.
/// @param file receives the file; unchanged on failure.
/// @returns 0 or the reason.
apr_status_t OpenFileByName(const char* name, int mode, FileHandle& file) noexcept;

/// Makes a new file that its owner alone may read and write, and opens it for both.
///
/// @param name ends in at least six `X`, the last of which are replaced until the name is free.
/// Linux: six of them; Windows: all.
/// @returns 0 or the reason.
apr_status_t MakeTemporaryFile(char* name, FileHandle& file) noexcept;

/// What one `ReadBytes` or `WriteBytes` moves at most. Linux moves no more at once.
inline constexpr std::size_t kMostAtOnce = 0x7ffff000;

/// Reads up to `size` bytes from where the file stands.
///
/// @param size at most `kMostAtOnce`; receives the bytes that were read, which may be fewer. 0 is
/// the end of the file.
/// @returns 0 or the reason, with `size` 0.
apr_status_t ReadBytes(const FileHandle& file, void* target, std::size_t& size) noexcept;

/// Writes up to `size` bytes to where the file stands, or to its end when it was opened so.
///
/// @param size at most `kMostAtOnce`; receives the bytes that were written, which may be fewer,
/// but not none unless it was 0.
/// @returns 0 or the reason, with `size` 0.
apr_status_t WriteBytes(const FileHandle& file, const void* source, std::size_t& size) noexcept;

/// From where `MovePosition` counts.
enum class Origin { Start, Here, End };

/// Moves the place where the file is read and written next.
///
/// @param position receives the place, in bytes from the start; unchanged on failure.
/// @returns 0 or the reason: one of `APR_STATUS_IS_ESPIPE` for what has no such place, as a pipe.
apr_status_t MovePosition(const FileHandle& file, Origin from, long long offset,
                          long long& position) noexcept;

/// Whether more may be read than is wanted and the position moved back: it is a regular file whose
/// size the system knows. (Linux knows none of the files below /proc.)
bool MayReadAhead(const FileHandle& file) noexcept;

/// Closes the file if one is open. It is gone also when that fails.
///
/// @returns 0, or why what was written may not have arrived.
apr_status_t CloseFile(FileHandle& file) noexcept;

/// Removes a file opened with `APR_FOPEN_DELONCLOSE` or made by `MakeTemporaryFile`, after it was
/// closed. Linux: whatever has the name then. Windows: nothing to do, the system removes the file
/// itself with its last handle.
void RemoveClosed(const char* name) noexcept;

inline FileHandle::~FileHandle() {
    CloseFile(*this);
}

/// The multibyte code page in which the process reads narrow text, or 0 while that is a single-byte
/// code page. Windows: `_getmbcp`. Linux: 65001 whatever the locale: no call there reads a name
/// through a code page, so that none is lost in one, and there is no short path to look for.
int MultibyteCodePage() noexcept;

/// Converts UTF-8 to UTF-16. Windows: `MultiByteToWideChar` with code page 65001 and no flags.
///
/// @param text `length` bytes, without a terminator. Malformed text gives replacement characters.
/// @param buffer room for `capacity` units, or null with capacity 0 to measure.
/// @returns the number of units, without a terminator; 0 for an empty text or too little room.
/// Linux: 0; not needed there, see `MultibyteCodePage`.
int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept;

/// The short (8.3) form of the path of a file that exists. Windows: `GetShortPathNameW`.
///
/// @param path ends with a NUL.
/// @param buffer room for `capacity` units, or null with capacity 0 to measure.
/// @returns to measure, the size in units with the terminator; to fetch, the length without it, or
/// the size needed when the room is too little; 0 on failure, which includes a path that does not
/// exist. Linux: 0; its file systems keep no short names.
unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned capacity) noexcept;

}  // namespace zukel::platform
