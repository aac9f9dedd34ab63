#pragma once

#include "zuString.h"

namespace zukel {

/// Finds the short name under which a file that exists is opened in a process on a single-byte code
/// page: its units cut to their low 8 bits, without conversion.
///
/// @returns false, with `shortName` of no meaning, when the name is empty or not convertible, when
/// the platform has no short name for it (every file that does not exist yet), and when memory runs
/// out on the way. The caller then opens by the name it was given.
bool FindShortName(const zuString& name, zuString& shortName) noexcept;

}  // namespace zukel
