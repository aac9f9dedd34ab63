#pragma once

#include <apr_errno.h>

/// What the platform provides for whole trees of directories. Plain functions,
/// chosen at link time.
namespace zukel::platform {

/// Removes a directory with everything below it. What cannot be removed stays, and the rest goes.
/// Symbolic links are removed, not followed, even one that replaces a directory meanwhile. A
/// directory of another volume is not entered either. Depth costs memory, but no stack.
///
/// Linux: at most a few descriptors at once, each relative to the one before. Windows: every
/// directory on the way down is held open, so that nobody can move it.
///
/// @param path the caller's bytes, not empty.
/// @param entered receives whether it led to a directory, from which something may have been
/// removed.
/// @returns 0 when everything is gone, or the first reason. With nothing removed, that is one of
/// `APR_STATUS_IS_ENOENT` when there is no such directory, `APR_ENOTDIR` for what is no directory,
/// a symbolic link included, and `APR_EINVAL` for a root and for `.` and `..` as the last
/// component. Throws `std::bad_alloc`, with a part of the tree removed.
apr_status_t RemoveTree(const char* path, bool& entered);

}  // namespace zukel::platform
