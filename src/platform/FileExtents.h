#pragma once

#include "platform/Files.h"

/// What the portable code asks of the platform about the contents of an open file as a whole, and
/// at places of the caller's choice. Plain functions, chosen at link time. All of them repeat a
/// system call that a signal has interrupted, and none moves the place where the file is read and
/// written next.
namespace zukel::platform {

/// Waits until what was written to the file is on the disk, with the length that it needs to be
/// read again. Linux: `fdatasync`. Windows: `FlushFileBuffers`, for a file open for writing.
///
/// @returns 0 or the reason, also for what has no disk, such as a pipe.
apr_status_t SyncFile(const FileHandle& file) noexcept;

/// Tells the length of a regular file.
///
/// @param length receives the bytes; unchanged on failure.
/// @returns 0 or the reason, `APR_EINVAL` for what is no regular file.
apr_status_t QueryLength(const FileHandle& file, long long& length) noexcept;

/// Truncates a file that is open for writing, or extends it by zeros. A file beyond the limit of
/// the process is a failure and raises no signal.
///
/// @param length not negative.
/// @returns 0 or the reason, with the file as it was.
apr_status_t ChangeLength(const FileHandle& file, long long length) noexcept;

/// Reads up to `size` bytes at `offset`. Any number of threads may do so with one file at once,
/// with `WriteBytesAt` too.
///
/// @param size at most `kMostAtOnce`; receives the bytes that were read, which may be fewer. 0 is
/// the end of the file.
/// @returns 0 or the reason, with `size` 0: one for what has no such place, as a pipe.
apr_status_t ReadBytesAt(const FileHandle& file, long long offset, void* target,
                         std::size_t& size) noexcept;

/// Writes up to `size` bytes at `offset`. Requires: the file was not opened with
/// `APR_FOPEN_APPEND`, with which the system would ignore the offset.
///
/// @param size at most `kMostAtOnce`; receives the bytes that were written, which may be fewer,
/// but not none unless it was 0.
/// @returns 0 or the reason, with `size` 0.
apr_status_t WriteBytesAt(const FileHandle& file, long long offset, const void* source,
                          std::size_t& size) noexcept;

}  // namespace zukel::platform
