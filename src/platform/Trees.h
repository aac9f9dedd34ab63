#pragma once

#include <apr_errno.h>

/// What the portable code asks of the platform about whole trees of directories. Plain functions,
/// chosen at link time.
namespace zukel::platform {

/// Removes a directory with everything below it. What cannot be removed stays, and the rest goes.
/// Symbolic links are removed themselves, and no directory is entered through one, not even one
/// that takes a directory's place meanwhile; nor is a directory of another volume. Depth costs
/// memory, but no stack.
///
/// Linux: at most a few descriptors at once, relative to each of which the next name is read.
/// Windows: every directory on the way down is held open, so that nobody can move it.
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
