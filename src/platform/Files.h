#pragma once

#include <apr_errno.h>

#include <cstddef>
#include <cstdint>
#include <utility>

/// What the platform provides for open files. Plain functions, chosen at link
/// time: one folder below this one implements each of them. All of them repeat a system call that a
/// signal has interrupted.
namespace zukel::platform {

/// An open file of the system, or none. It is closed with the object, and child processes never
/// inherit it.
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
    /// Releases ownership: the file is not closed any more.
    Native Release() noexcept { return std::exchange(native_, kNone); }

private:
    static constexpr Native kNone = -1;  // also INVALID_HANDLE_VALUE of Windows
    Native native_ = kNone;
};

/// Opens a file.
///
/// @param name the caller's bytes.
/// @param mode `APR_FOPEN_` flags, with the meaning of `apr_file_open`: `APR_EACCES` without a
/// right to read or write, and with `APR_FOPEN_EXCL` but without `APR_FOPEN_CREATE`. The caller
/// does the buffering, and the removal of `APR_FOPEN_DELONCLOSE` where `RemoveClosed` does it. With
/// `APR_FOPEN_APPEND` every write goes atomically to the end of the file, whoever else writes.
/// Windows: the name is UTF-8.
/// @param file receives the file; unchanged on failure.
/// @returns 0 or the reason.
apr_status_t OpenFileByName(const char* name, int mode, FileHandle& file) noexcept;

/// Creates a file that only its owner may read and write, and opens it for both.
///
/// @param name ends in at least six `X`, the last of which are replaced until the name is free.
/// Linux: six of them; Windows: all.
/// @returns 0 or the reason.
apr_status_t MakeTemporaryFile(char* name, FileHandle& file) noexcept;

/// What one `ReadBytes` or `WriteBytes` transfers at most: the limit of Linux.
inline constexpr std::size_t kMostAtOnce = 0x7ffff000;

/// Reads up to `size` bytes at the file's position.
///
/// @param size at most `kMostAtOnce`; receives the number of bytes read, which may be less. 0 is
/// the end of the file.
/// @returns 0 or the reason, with `size` 0.
apr_status_t ReadBytes(const FileHandle& file, void* target, std::size_t& size) noexcept;

/// Writes up to `size` bytes at the file's position, or at its end if it was opened to append.
///
/// @param size at most `kMostAtOnce`; receives the number of bytes written, which may be less, but
/// is 0 only if it was 0.
/// @returns 0 or the reason, with `size` 0.
apr_status_t WriteBytes(const FileHandle& file, const void* source, std::size_t& size) noexcept;

/// Where `MovePosition` counts from.
enum class Origin { Start, Here, End };

/// Moves the file's position.
///
/// @param position receives the new position, in bytes from the start; unchanged on failure.
/// @returns 0 or the reason: one of `APR_STATUS_IS_ESPIPE` for a file without a position, such as a
/// pipe.
apr_status_t MovePosition(const FileHandle& file, Origin from, long long offset,
                          long long& position) noexcept;

/// Whether more may be read than needed and the position moved back: true for a regular file whose
/// size the system knows. (Linux reports size 0 for files in /proc.)
bool MayReadAhead(const FileHandle& file) noexcept;

/// Closes the file if one is open. The handle is gone even if that fails.
///
/// @returns 0, or the reason why what was written may be lost.
apr_status_t CloseFile(FileHandle& file) noexcept;

/// Removes a file opened with `APR_FOPEN_DELONCLOSE` or made by `MakeTemporaryFile`, after it was
/// closed. Linux: whatever has the name then. Windows: nothing to do, the system removes the file
/// itself with its last handle.
void RemoveClosed(const char* name) noexcept;

inline FileHandle::~FileHandle() {
    CloseFile(*this);
}

/// The multibyte code page in which the process reads narrow text, or 0 while that is a single-byte
/// code page. Windows: `_getmbcp`. Linux: 65001 whatever the locale, since file names are not
/// converted and `Open` never needs a short name.
int MultibyteCodePage() noexcept;

/// Converts UTF-8 to UTF-16. Windows: `MultiByteToWideChar` with code page 65001 and no flags.
///
/// @param text `length` bytes, without a terminator. Malformed text becomes replacement characters.
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
