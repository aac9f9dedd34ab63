#include "platform/linux/LocaleName.h"

#include <charconv>

namespace zukel::platform {

namespace {

struct CodePage {
    std::string_view characterSet;
    unsigned number;
};

/// The character sets of the C library's locales that Windows has a number for.
constexpr CodePage kCodePages[] = {
    {"UTF-8", 65001},   {"ANSI_X3.4-1968", 20127},
    {"BIG5", 950},      {"CP1250", 1250},
    {"CP1251", 1251},   {"CP1252", 1252},
    {"CP1253", 1253},   {"CP1254", 1254},
    {"CP1255", 1255},   {"CP1256", 1256},
    {"CP1257", 1257},   {"CP1258", 1258},
    {"CP932", 932},     {"CP949", 949},
    {"EUC-JP", 51932},  {"EUC-KR", 51949},
    {"GB18030", 54936}, {"GB2312", 936},
    {"GBK", 936},       {"IBM437", 437},
    {"IBM850", 850},    {"IBM866", 866},
    {"JOHAB", 1361},    {"KOI8-R", 20866},
    {"KOI8-U", 21866},  {"SHIFT_JIS", 932},
    {"TIS-620", 874},   {"UHC", 949},
};

bool IsLower(char byte) noexcept {
    return byte >= 'a' && byte <= 'z';
}

bool IsUpper(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z';
}

/// `ll_CC`, alone or followed by a character set or a modifier.
bool NamesLanguageAndCountry(std::string_view name) noexcept {
    return name.size() >= 5 && IsLower(name[0]) && IsLower(name[1]) && name[2] == '_' &&
           IsUpper(name[3]) && IsUpper(name[4]) &&
           (name.size() == 5 || name[5] == '.' || name[5] == '@');
}

}  // namespace

unsigned CodePageOf(std::string_view characterSet) noexcept {
    constexpr std::string_view kIso = "ISO-8859-";
    if (characterSet.substr(0, kIso.size()) == kIso) {
        const std::string_view part = characterSet.substr(kIso.size());
        unsigned number = 0;
        const char* const end = part.data() + part.size();
        const bool whole = std::from_chars(part.data(), end, number).ptr == end;
        return whole && number >= 1 && number <= 16 ? 28590 + number : 0;
    }
    for (const CodePage& page : kCodePages) {
        if (page.characterSet == characterSet) {
            return page.number;
        }
    }
    return 0;
}

LocaleId PackLocale(std::string_view name, std::string_view characterSet) noexcept {
    const unsigned codePage = CodePageOf(characterSet);
    if (codePage == 0 || !NamesLanguageAndCountry(name)) {
        return 0;
    }
    LocaleId packed = 0;
    for (const std::size_t at : {0U, 1U, 3U, 4U}) {
        packed = packed << 8U | static_cast<unsigned char>(name[at]);
    }
    return packed << 32U | codePage;
}

}  // namespace zukel::platform
