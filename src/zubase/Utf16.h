#pragma once

#include <cstddef>

/// UTF-8 to UTF-16. Malformed text is read as replacement characters (U+FFFD), one for each longest
/// part that could begin a character, and never beyond its end.
namespace zukel {

/// Replaces malformed text.
constexpr char32_t kReplacement = 0xFFFD;

/// Removes the next character, or malformed part, from the front of the text, which is not empty.
char32_t TakeCharacter(const char*& at, const char* end) noexcept;

/// The number of 16-bit units that `length` bytes of UTF-8 take in UTF-16, without a terminator.
std::size_t Utf16Length(const char* text, std::size_t length) noexcept;

/// Writes that many units to `units`, without a terminator.
void ConvertToUtf16(const char* text, std::size_t length, char16_t* units) noexcept;

}  // namespace zukel
