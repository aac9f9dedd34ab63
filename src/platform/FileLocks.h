#pragma once

#include "platform/Files.h"

/// What the portable code asks of the platform to keep others from an open file. Plain functions,
/// chosen at link time.
namespace zukel::platform {

/// Who else may hold a lock at the same time: others that share, or nobody.
enum class LockKind { Shared, Exclusive };

/// Locks the file as a whole against everybody who asks, in other processes and through other
/// openings in this one. The lock belongs to the opening: it goes when the last handle of it is
/// closed, also by the end of the process, and by nothing that happens to other openings. Whoever
/// reads and writes without asking is not hindered.
///
/// Linux: an open-file-description lock. Windows: `LockFileEx` of one byte beyond all contents.
///
/// @param file has no lock; open for reading to share, for writing to lock exclusively.
/// @param microseconds how long to wait for others: 0 asks once, negative waits for ever, without
/// polling. A limited time is polled, in growing steps up to 16 ms: neither system has a lock with
/// a time-out for an opening like this, and ending a wait from outside would take a signal (Linux)
/// or another kind of opening (Windows).
/// @returns 0 or the reason, one of `APR_STATUS_IS_EAGAIN` when somebody else held the file for all
/// of that time.
apr_status_t LockWholeFile(const FileHandle& file, LockKind kind, long long microseconds) noexcept;

/// Gives the lock back.
///
/// @returns 0 or the reason.
apr_status_t UnlockWholeFile(const FileHandle& file) noexcept;

}  // namespace zukel::platform
