#pragma once

#include "platform/Files.h"

/// What the platform provides for the length of an open file, and for transfers at an offset. Plain
/// functions, chosen at link time. All repeat a system call that a signal has interrupted, and none
/// moves the file's position.
namespace zukel::platform {

/// Waits until what was written to the file is on disk, with the length that it needs to be
/// read again. Linux: `fdatasync`. Windows: `FlushFileBuffers`, for a file open for writing.
///
/// @returns 0 or the reason, also for a file without a disk, such as a pipe.
apr_status_t SyncFile(const FileHandle& file) noexcept;

/// Reports the length of a regular file.
///
/// @param length receives the bytes; unchanged on failure.
/// @returns 0 or the reason, `APR_EINVAL` for anything but a regular file.
apr_status_t QueryLength(const FileHandle& file, long long& length) noexcept;

/// Truncates a file that is open for writing, or extends it with zeros. A length beyond the limit
/// of the process is a failure and raises no signal.
///
/// @param length not negative.
/// @returns 0 or the reason, with the file as it was.
apr_status_t ChangeLength(const FileHandle& file, long long length) noexcept;

/// Reads up to `size` bytes at `offset`. Any number of threads may do so with one file at once,
/// with `WriteBytesAt` too.
///
/// @param size at most `kMostAtOnce`; receives the number of bytes read, which may be less. 0 is
/// the end of the file.
/// @returns 0 or the reason, with `size` 0: also for a file without positions, such as a pipe.
apr_status_t ReadBytesAt(const FileHandle& file, long long offset, void* target,
                         std::size_t& size) noexcept;

/// Writes up to `size` bytes at `offset`. Requires: the file was not opened with
/// `APR_FOPEN_APPEND`, with which the system would ignore the offset.
///
/// @param size at most `kMostAtOnce`; receives the number of bytes written, which may be less, but
/// is 0 only if it was 0.
/// @returns 0 or the reason, with `size` 0.
apr_status_t WriteBytesAt(const FileHandle& file, long long offset, const void* source,
                          std::size_t& size) noexcept;

}  // namespace zukel::platform
