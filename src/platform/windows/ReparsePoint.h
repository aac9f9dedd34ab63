#pragma once

#include <cstddef>
#include <string>

namespace zukel::platform {

/// Where a symbolic link or a mount point leads to, from what `FSCTL_GET_REPARSE_POINT` gives.
///
/// @param data `size` bytes, of any content.
/// @param target receives the path as its maker wrote it where the link has kept that, and as the
/// system reads it, without the prefix `\\??\`, where not; unchanged for anything else.
/// @returns false for anything else. Throws `std::bad_alloc`.
bool LinkTarget(const void* data, std::size_t size, std::wstring& target);

}  // namespace zukel::platform
