#pragma once

namespace zukel {

/// Lowers an ASCII letter; every other byte is unchanged. In some locales `tolower` changes bytes
/// of multi-byte characters.
constexpr char ToLowerAscii(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

}  // namespace zukel
