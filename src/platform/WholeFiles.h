#pragma once

#include <apr_errno.h>

#include <cstddef>

/// What the platform provides for the contents of a file by name, all at once.
/// Plain functions, chosen at link time.
namespace zukel::platform {

/// Replaces the contents of a file, by the rules that `kelFile::ReplaceWhole` promises: they are
/// written to a new file beside it, which gets its permissions, is on disk before it takes the
/// name, and is removed if it cannot take it. A symbolic link is followed, also to a file that does
/// not exist.
///
/// @param name the caller's bytes, not empty.
/// @returns 0 or the reason. The name then leads to the former contents, or to the new ones when
/// only the wait for the directory has failed. Throws `std::bad_alloc`.
apr_status_t ReplaceContents(const char* name, const char* contents, std::size_t size);

}  // namespace zukel::platform
