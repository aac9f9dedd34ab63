#include "Oracles.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <sstream>

#include "directory/PathText.h"
#include "directory/RelativePath.h"
#include "environment/FileNameExpansion.h"
#include "file/NameParts.h"
#include "kelStatus.h"
#include "kelTime.h"
#include "zubase/zuWString.h"

namespace zukel::fuzz {

namespace {

std::string Compare(const std::string& input, const std::string& actual,
                    const std::string& expected) {
    return actual == expected ? ""
                              : "[" + input + "] gives [" + actual + "], not [" + expected + "]";
}

/// The pieces of a text, a trailing separator opening none.
std::vector<std::string> Pieces(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(stream, piece, '/');) {
        pieces.push_back(piece);
    }
    return pieces;
}

/// Follows `pieces` from `place`. Empty ones are levels when `emptyCounts`, else nothing.
std::vector<std::string> Follow(std::vector<std::string> place,
                                const std::vector<std::string>& pieces, bool emptyCounts) {
    for (const std::string& piece : pieces) {
        if (piece == "..") {
            if (!place.empty()) {
                place.pop_back();
            }
        } else if (piece != "." && (emptyCounts || !piece.empty())) {
            place.push_back(piece);
        }
    }
    return place;
}

}  // namespace

std::string CheckNormalizedPath(const std::string& path) {
    std::string expected;
    std::string rest = path;
    if (path.substr(0, 2) == "//" || (path.size() > 1 && path[1] == ':')) {
        expected = path[1] == ':' ? path.substr(0, 2) : "/";
        rest = path.substr(2);
    }
    for (const std::string& piece : Follow({}, Pieces(rest), false)) {
        expected += "/" + piece;
    }
    return Compare(path, NormalizedPath(path), expected.empty() && !path.empty() ? "/" : expected);
}

std::string CheckNameParts(const std::string& name) {
    const auto after = [](std::size_t found) { return found + 1; };  // 0 when nothing was found
    const std::size_t start = after(name.find_last_of("/\\:"));
    const std::size_t dot = name.rfind('.');
    const bool inside = dot != std::string::npos && dot > start;
    const bool behindSlash = dot != std::string::npos && dot >= after(name.find_last_of("/\\"));
    const NameParts parts = SplitName(name, FindCuts(name));
    std::string actual;
    for (const auto part : {parts.path, parts.fileName, parts.baseName, parts.extension}) {
        actual.append(part).append("|");
    }
    return Compare(name, actual,
                   name.substr(0, start) + "|" + name.substr(start) + "|" +
                       name.substr(start, inside ? dot - start : std::string::npos) + "|" +
                       (behindSlash ? name.substr(dot + 1) : "") + "|");
}

std::string CheckWideName(const std::string& name) {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const std::string text = name.c_str();
    const zuWString wide(text);
    if (utf8 != nullptr) {
        std::wstring expected(text.size() + 1, L'\0');
        const char* from = text.c_str();
        std::mbstate_t state{};
        const locale_t former = uselocale(utf8);
        const std::size_t size = mbsrtowcs(expected.data(), &from, expected.size(), &state);
        uselocale(former);
        const bool valid =
            size != static_cast<std::size_t>(-1) &&
            *std::max_element(expected.begin(), expected.end()) <= L'\U0010ffff';  // glibc: more
        if (valid && std::wcscmp(wide.c_str(), expected.c_str()) != 0) {
            return Compare(name, "another wide form", "that of the C library");
        }
    }
    return Compare(name, Narrow(wide.c_str()), text);
}

std::string CheckExpansion(const std::string& name) {
    const auto value = [](const std::string& variable) { return "\\~/$a/" + variable + "/~"; };
    const bool homeless = name.size() % 2 != 0;
    std::string expected;
    std::string component;
    bool first = true;
    for (const char byte : name + '/') {
        if (byte != '/' && byte != '\\') {
            component += byte;
            continue;
        }
        if (first && component == "~" && !homeless) {
            component = "<~>";
        } else if (component == "$PLATFORM") {
            component = "[platform]";
        } else if (component[0] == '$' && component[1] != 'U') {
            component = value(component.substr(1));
        }
        expected += (first ? "" : "/") + component;
        component.clear();
        first = false;
    }
    auto components = SplitFileName(name);
    ExpandComponents(
        components, "[platform]",
        [&](std::string& directory) { directory = homeless ? directory : "<~>"; },
        [&](std::string& text, const std::string& variable) {
            text = variable[0] == 'U' ? text : value(variable);
        });
    return Compare(name, JoinFileName(components), expected);
}

std::string CheckRelativePath(const std::string& texts) {
    const std::size_t bar = texts.find('|');
    std::string from = texts.substr(0, bar);
    std::string to = bar == std::string::npos ? from : texts.substr(bar + 1);
    for (std::string* const text : {&from, &to}) {
        std::string folded;
        for (const char byte : *text) {
            const bool capital =
                std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ").find(byte) != std::string::npos;
            folded += byte == '\\' ? '/' : static_cast<char>(capital ? byte | 0x20 : byte);
        }
        FoldCase(*text);
        if (*text != folded) {
            return Compare(texts, *text, folded);
        }
    }
    const std::string way = RelativePathBetween(from, to);
    const auto source = Follow({}, Pieces(from), true);
    const auto target = Follow({}, Pieces(to), true);
    if (from == to || source.empty() || target.empty() || source[0] != target[0]) {
        const bool nowhere = source.empty() || target.empty();
        return Compare(texts, way, from == to ? "./" : nowhere ? "" : to);
    }
    // Whoever follows the way from the first place is at the second, and never goes up and down
    // through one and the same component.
    const auto steps = Pieces(way);
    std::size_t common = 0;
    while (common < source.size() && common < target.size() && source[common] == target[common]) {
        ++common;
    }
    const bool shape = way.substr(0, 2) == "./" && way.back() == '/' &&
                       steps.size() == 1 + source.size() + target.size() - 2 * common;
    return shape && Follow(source, steps, true) == target
               ? ""
               : Compare(texts, way, "a shortest way that leads there");
}

namespace {

kelTime FromFields(const std::tm& date, int microSeconds) {
    return kelTime(microSeconds, date.tm_sec, date.tm_min, date.tm_hour, date.tm_mday, date.tm_mon,
                   date.tm_year, date.tm_wday, date.tm_yday, date.tm_isdst,
                   static_cast<int>(date.tm_gmtoff));
}

/// The text of the time beside what the C library writes into more room than any text needs that
/// may come out.
std::string CompareTexts(const kelTime& time, const std::tm& date, const std::string& pattern) {
    static std::array<char, 1 << 16> room;
    const std::string marked = "x" + std::string(pattern.c_str());  // tells no text from no room
    const std::size_t size = std::strftime(room.data(), room.size(), marked.c_str(), &date);
    const bool fits = size > 0 && size <= 256 && time.GetNumericEpochTime() != -1;
    std::string text = "untouched";
    const bool succeeds = time.GetFormatTime(text, pattern) == kelStatusOk;
    return Compare(
        pattern + "] at [" + std::to_string(time.GetNumericEpochTime()),
        (succeeds ? "success " : "failure ") + text,
        fits ? "success " + std::string(room.data() + 1, size - 1) : "failure untouched");
}

}  // namespace

std::string CheckTimePattern(const std::string& bytes) {
    static const bool zone = setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1) == 0 && (tzset(), true);
    std::string rest = bytes;
    const auto take = [&](auto number) {  // from the front; zeros when the bytes are used up
        std::memcpy(&number, rest.data(), std::min(sizeof number, rest.size()));
        rest.erase(0, sizeof number);
        return number;
    };
    const unsigned kind = take(std::uint8_t{0});
    const bool local = zone && (kind & 1U) != 0;
    std::tm date{};
    if ((kind & 2U) == 0) {
        const auto moment = take(std::int64_t{0});
        const std::time_t second = moment / 1000000 - (moment % 1000000 < 0 ? 1 : 0);
        if ((local ? localtime_r(&second, &date) : gmtime_r(&second, &date)) == nullptr) {
            return "no date";
        }
        date.tm_zone = nullptr;  // kelTime keeps no name of the zone
        kelTime time(moment);
        if (local && moment != -1) {  // which would become the present
            time.MakeLocalTime();
        }
        constexpr long long kFirst = -62135596800, kLast = 253402300799;  // years 1 to 9999
        const bool valid = second + date.tm_gmtoff >= 0;  // APR's fields begin in 1970
        const long long back = FromFields(date, 0).GetNumericEpochTime();
        const std::string number = second < kFirst || second > kLast
                                       ? ""
                                       : Compare("back", std::to_string(back),
                                                 std::to_string(valid ? second * 1000000 : -1));
        return number.empty() ? CompareTexts(time, date, rest) : number;
    }
    // Fields as they come. Small ones lie in their ranges or close by.
    int microSeconds = 0, east = 0;
    for (int* const field :
         {&microSeconds, &date.tm_sec, &date.tm_min, &date.tm_hour, &date.tm_mday, &date.tm_mon,
          &date.tm_year, &date.tm_wday, &date.tm_yday, &date.tm_isdst, &east}) {
        *field = local ? take(std::int32_t{0}) : take(std::int8_t{0});
    }
    date.tm_gmtoff = east;
    return CompareTexts(FromFields(date, microSeconds), date, rest);
}

}  // namespace zukel::fuzz
