#pragma once

#include "zuString.h"

namespace zukel {

/// Whether a text ends where the system, which takes it up to its first NUL, sees it end. Cut there
/// it would be the name of something else; such a name is treated as that of nothing.
inline bool IsWhole(const zuString& text) noexcept {
    return text.find('\0') == zuString::npos;
}

}  // namespace zukel
