#include "zubase/zuWString.h"

#include <cstring>

#include "zubase/Utf16.h"

namespace {

constexpr char32_t kByteBase = 0xDC00;  // in the range of lone surrogates, which UTF-8 cannot hold

bool IsEscapedByte(char32_t unit) noexcept {
    return unit >= kByteBase + 0x80 && unit <= kByteBase + 0xFF;
}

void AppendWide(std::wstring& text, char32_t character) {
    if (sizeof(wchar_t) == 2 && character > 0xFFFF) {
        text.push_back(static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10U)));
        text.push_back(static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FFU)));
    } else {
        text.push_back(static_cast<wchar_t>(character));
    }
}

void AppendUtf8(zuString& text, char32_t character) {
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto rest = [character](unsigned shift) {
        return 0x80U | ((character >> shift) & 0x3FU);
    };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0U | (character >> 6U));
        put(rest(0));
    } else if (character < 0x10000) {
        put(0xE0U | (character >> 12U));
        put(rest(6));
        put(rest(0));
    } else {
        put(0xF0U | (character >> 18U));
        put(rest(12));
        put(rest(6));
        put(rest(0));
    }
}

}  // namespace

zuWString::zuWString(const zuString& name) {
    const char* at = name.c_str();
    const char* const end = at + std::strlen(at);
    text_.reserve(static_cast<std::size_t>(end - at));
    while (at != end) {
        const char* const start = at;
        const char32_t character = zukel::TakeCharacter(at, end);
        const auto length = static_cast<std::size_t>(at - start);
        if (character != zukel::kReplacement || zuString(start, length) == "\xEF\xBF\xBD") {
            AppendWide(text_, character);
            continue;
        }
        for (const char* byte = start; byte != at; ++byte) {
            AppendWide(text_, kByteBase + static_cast<unsigned char>(*byte));
        }
    }
}

namespace zukel {

zuString Narrow(const wchar_t* wide) {
    zuString name;
    for (; *wide != L'\0'; ++wide) {
        const auto unit = static_cast<char32_t>(*wide);
        if (IsEscapedByte(unit)) {
            name.push_back(static_cast<char>(unit - kByteBase));
        } else {
            AppendUtf8(name, unit);
        }
    }
    return name;
}

}  // namespace zukel
