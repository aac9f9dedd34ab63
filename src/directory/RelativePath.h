#pragma once

#include "zuString.h"

/// The relative path from one path to another, as functions of the two texts alone. The rules for
/// components differ from those of the normalised path: an empty component is a level, and `..`
/// removes whatever precedes it.
namespace zukel {

/// Lowers ASCII letters, in every locale, and replaces every `\` by `/`.
void FoldCase(zuString& name) noexcept;

/// The relative path between two folded texts; empty if they differ and one of them has no
/// component left.
zuString RelativePathBetween(const zuString& from, const zuString& to);

}  // namespace zukel
