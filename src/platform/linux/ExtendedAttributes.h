#pragma once

namespace zukel::platform {

/// Whether an open file has any, or that is unknown.
bool HasExtendedAttributes(int file) noexcept;

/// Gives the open file `to` the extended attributes of the open file `from`, except those that the
/// system or the file system of `to` refuses. `SourcePermissions` deals with a refused access list.
///
/// @returns false with `errno` when reading one or storing one failed for another reason, such as a
/// full file system.
bool CopyExtendedAttributes(int from, int to) noexcept;

}  // namespace zukel::platform
