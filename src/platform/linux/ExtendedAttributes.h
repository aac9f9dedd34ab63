#pragma once

namespace zukel::platform {

/// Whether an open file has any, or the system does not tell.
bool HasExtendedAttributes(int file) noexcept;

/// Gives the open file `to` the extended attributes of the open file `from`, except those that the
/// system or the volume of `to` refuses. What follows from a refused access list is the business of
/// `SourcePermissions`.
///
/// @returns false with `errno` when reading one or storing one failed for another reason, such as a
/// full volume.
bool CopyExtendedAttributes(int from, int to) noexcept;

}  // namespace zukel::platform
