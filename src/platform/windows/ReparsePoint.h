#pragma once

#include <cstddef>
#include <string>

namespace zukel::platform {

/// The target of a symbolic link or a mount point, from the data of `FSCTL_GET_REPARSE_POINT`.
///
/// @param data `size` bytes, of any content.
/// @param target receives the path for display if the link has one, else the path that the system
/// follows, without the prefix `\\??\`. Unchanged for any other reparse point.
/// @returns false for any other reparse point. Throws `std::bad_alloc`.
bool LinkTarget(const void* data, std::size_t size, std::wstring& target);

}  // namespace zukel::platform
