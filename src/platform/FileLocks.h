#pragma once

#include "platform/Files.h"

/// What the platform provides for locks on an open file. Plain functions, chosen at link time.
namespace zukel::platform {

/// Who else may hold a lock at the same time: others that share, or nobody.
enum class LockKind { Shared, Exclusive };

/// Locks the whole file against other processes and other openings in this one. The lock is
/// advisory. It belongs to the opening: it ends when its last handle is closed, also by the end of
/// the process, and closing other openings does not end it.
///
/// Linux: an open-file-description lock. Windows: `LockFileEx` of one byte beyond all contents.
///
/// @param file has no lock; open for reading to share, for writing to lock exclusively.
/// @param microseconds how long to wait for others: 0 tries once, a negative number waits for ever,
/// without polling. A limited wait polls, in growing steps up to 16 ms: neither system has a
/// time-out for such a lock, and to end a wait from outside would take a signal (Linux) or an
/// overlapped handle (Windows).
/// @returns 0 or the reason, one of `APR_STATUS_IS_EAGAIN` if somebody else held the lock all that
/// time.
apr_status_t LockWholeFile(const FileHandle& file, LockKind kind, long long microseconds) noexcept;

/// Releases the lock.
///
/// @returns 0 or the reason.
apr_status_t UnlockWholeFile(const FileHandle& file) noexcept;

}  // namespace zukel::platform
