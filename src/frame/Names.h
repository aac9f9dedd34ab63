#pragma once

#include <string_view>

#include "zuString.h"

namespace zukel {

/// Whether a text ends where the system, which takes it up to its first NUL, sees it end. Cut there
/// it would be the name of something else; such a name is treated as that of nothing.
inline bool IsWhole(const zuString& text) noexcept {
    return text.find('\0') == zuString::npos;
}

/// Whether the template of a temporary name has room for enough names. Without six `X` Windows
/// would try the few names of a shorter one over and over.
inline bool EndsInSixX(std::string_view name) noexcept {
    constexpr std::string_view kSix = "XXXXXX";
    return name.size() >= kSix.size() && name.substr(name.size() - kSix.size()) == kSix;
}

}  // namespace zukel
