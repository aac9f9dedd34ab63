#include "zubase/Utf16.h"

namespace zukel {

namespace {

/// What follows a lead byte: how many bytes, and the range of the first of them, which excludes
/// overlong forms, surrogates and values above U+10FFFF.
struct Lead {
    unsigned following;
    unsigned low;
    unsigned high;
};

Lead ReadLead(unsigned byte) noexcept {
    if (byte < 0xC2 || byte > 0xF4) {
        return {0, 0, 0};
    }
    if (byte < 0xE0) {
        return {1, 0x80, 0xBF};
    }
    if (byte < 0xF0) {
        return {2, byte == 0xE0 ? 0xA0U : 0x80U, byte == 0xED ? 0x9FU : 0xBFU};
    }
    return {3, byte == 0xF0 ? 0x90U : 0x80U, byte == 0xF4 ? 0x8FU : 0xBFU};
}

}  // namespace

char32_t TakeCharacter(const char*& at, const char* end) noexcept {
    const auto first = static_cast<unsigned char>(*at++);
    if (first < 0x80) {
        return first;
    }
    const Lead lead = ReadLead(first);
    if (lead.following == 0) {
        return kReplacement;
    }
    char32_t character = first & (0x3FU >> lead.following);
    unsigned low = lead.low;
    unsigned high = lead.high;
    for (unsigned taken = 0; taken < lead.following; ++taken) {
        const unsigned next = at == end ? 0U : static_cast<unsigned char>(*at);
        if (next < low || next > high) {
            return kReplacement;
        }
        character = (character << 6U) | (next & 0x3FU);
        ++at;
        low = 0x80;
        high = 0xBF;
    }
    return character;
}

std::size_t Utf16Length(const char* text, std::size_t length) noexcept {
    std::size_t units = 0;
    for (const char *at = text, *end = text + length; at != end;) {
        units += TakeCharacter(at, end) > 0xFFFF ? 2 : 1;
    }
    return units;
}

void ConvertToUtf16(const char* text, std::size_t length, char16_t* units) noexcept {
    for (const char *at = text, *end = text + length; at != end;) {
        const char32_t character = TakeCharacter(at, end);
        if (character > 0xFFFF) {
            *units++ = static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10U));
            *units++ = static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FFU));
        } else {
            *units++ = static_cast<char16_t>(character);
        }
    }
}

}  // namespace zukel
