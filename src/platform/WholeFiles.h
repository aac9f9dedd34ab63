#pragma once

#include <apr_errno.h>

#include <cstddef>

/// What the portable code asks of the platform about the contents of a file by name, all at once.
/// Plain functions, chosen at link time.
namespace zukel::platform {

/// Puts new contents under the name, by the rules that `kelFile::ReplaceWhole` promises: they go to
/// a new file beside the one of that name, which gets its permissions, is on the disk before it
/// takes the name, and leaves nothing behind when it does not. A symbolic link is followed, also to
/// a file that does not exist.
///
/// @param name the caller's bytes, not empty.
/// @returns 0 or the reason. The name then leads to the former contents, or to the new ones when
/// only the wait for the directory has failed. Throws `std::bad_alloc`.
apr_status_t ReplaceContents(const char* name, const char* contents, std::size_t size);

}  // namespace zukel::platform
