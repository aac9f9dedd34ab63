#pragma once

#include <apr_errno.h>

#include "zuString.h"

/// What the platform provides for symbolic links and what they lead to. Names
/// are the caller's bytes and not empty. Plain functions, chosen at link time: one folder below
/// this one implements each of them.
namespace zukel::platform {

/// Makes a symbolic link, atomically.
///
/// @param target the text of the link, not empty. Windows: `/` becomes a backslash.
/// @returns 0 or the reason, one of `APR_STATUS_IS_EEXIST` when something has the name. Throws
/// `std::bad_alloc` with nothing made.
apr_status_t MakeSymbolicLink(const char* target, const char* name);

/// Reads the text of a symbolic link, whatever its length.
///
/// @param target unchanged on failure.
/// @returns 0 or the reason, `APR_EINVAL` for anything but a symbolic link. Throws
/// `std::bad_alloc`.
apr_status_t ReadSymbolicLink(const char* name, zuString& target);

/// Reports the canonical path of an existing file: absolute, without symbolic links, `.` and `..`.
/// Linux: `realpath`. Windows: `GetFinalPathNameByHandleW`, without the prefix of the extended form
/// where the path means the same without it.
///
/// @param path unchanged on failure.
/// @returns 0 or the reason. Throws `std::bad_alloc`.
apr_status_t QueryRealPath(const char* name, zuString& path);

}  // namespace zukel::platform
