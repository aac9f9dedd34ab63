#pragma once

#include <string_view>

#include "platform/Environment.h"

namespace zukel::platform {

/// The result of `ThreadLocale` for a locale: two letters of language, two of country, and the
/// number of the code page, packed into one value. A function of the text alone.
///
/// @param name such as `sv_SE.UTF-8` or `ca_ES@valencia`.
/// @param characterSet as the C library spells it, such as `ISO-8859-15`.
/// @returns 0 when the name has no two-letter language and country, or the character set no number.
LocaleId PackLocale(std::string_view name, std::string_view characterSet) noexcept;

/// The number of a character set on Windows, 28590 + n for ISO 8859-n; 0 if it has none.
unsigned CodePageOf(std::string_view characterSet) noexcept;

}  // namespace zukel::platform
