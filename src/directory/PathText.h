#pragma once

#include "zuString.h"

/// Path text as a sequence of bytes: functions of the text alone.
namespace zukel {

/// Not empty, no separator of either kind in front, no colon anywhere.
bool IsRelative(const zuString& path) noexcept;

/// The normalised form that `kelDirectory::GetAbsolutePath` describes. One pass over the text, and
/// one allocation for the result.
zuString NormalizedPath(const zuString& path);

}  // namespace zukel
