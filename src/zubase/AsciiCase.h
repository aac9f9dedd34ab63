#pragma once

namespace zukel {

/// The small letter of a capital one of ASCII; every other byte as it is. The C library's `tolower`
/// reads a byte of a longer character as a letter in some locales.
constexpr char ToLowerAscii(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

}  // namespace zukel
