#pragma once

#include <sys/stat.h>

namespace zukel::platform {

/// Copies everything that is left to read of the descriptor `from` to the descriptor `to`; both may
/// be files, devices or pipes. The kernel moves the bytes where it can. Holes of a regular file
/// stay holes of a regular target, which is empty.
///
/// @param source what `fstat` told of `from`.
/// @returns false with `errno` when reading or writing failed; a part may have been written.
bool CopyContents(int from, int to, const struct stat& source) noexcept;

}  // namespace zukel::platform
