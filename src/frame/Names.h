#pragma once

#include <string_view>

#include "zuString.h"

namespace zukel {

/// Whether a text contains no NUL. The system reads a name up to its first NUL, which may be the
/// name of something else; such a name is treated as missing.
inline bool IsWhole(const zuString& text) noexcept {
    return text.find('\0') == zuString::npos;
}

/// Whether the template of a temporary name has enough possible names. Windows would try the few
/// names of a shorter template for ever.
inline bool EndsInSixX(std::string_view name) noexcept {
    constexpr std::string_view kSix = "XXXXXX";
    return name.size() >= kSix.size() && name.substr(name.size() - kSix.size()) == kSix;
}

}  // namespace zukel
