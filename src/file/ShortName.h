#pragma once

#include "zuString.h"

namespace zukel {

/// Finds the short name by which an existing file is opened in a process with a single-byte code
/// page: the low 8 bits of each of its units, without conversion.
///
/// @returns false, with `shortName` undefined, if the name is empty or not convertible, if the
/// platform has no short name for it (as for a new file), or if memory runs out. The caller then
/// opens by the name it was given.
bool FindShortName(const zuString& name, zuString& shortName) noexcept;

}  // namespace zukel
