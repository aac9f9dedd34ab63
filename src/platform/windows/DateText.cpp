#include <clocale>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/windows/DateText.h"

namespace zukel::platform {

namespace {

bool IsWithin(int value, int last) noexcept {
    return value >= 0 && value <= last;
}

bool IsLeap(long long year) noexcept {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

long long Floor(long long value, long long by) noexcept {
    return value / by - (value % by < 0 ? 1 : 0);
}

}  // namespace

bool DateText::Write(const char* pattern, std::size_t most) {
    for (; *pattern != '\0'; ++pattern) {
        const char* directive = pattern + 1;
        if (*pattern == '%' && (*directive == 'E' || *directive == 'O')) {
            ++directive;  // the locale's alternative form, which is not used
        }
        if (*pattern == '%' && *directive != '\0' && WriteDirective(*directive)) {
            pattern = directive;
        } else {
            text_ += *pattern;
        }
        if (text_.size() > most) {
            return false;
        }
    }
    return true;
}

bool DateText::WriteDirective(char directive) {
    const int hour = date_.tm_hour;
    const int hour12 = hour > 12 ? hour - 12 : hour == 0 ? 12 : hour;
    const int monday = (date_.tm_wday + 6) % 7;  // days since
    switch (directive) {
        case 'a':
        case 'A':
            WriteOfLocale(directive, IsWithin(date_.tm_wday, 6));
            return true;
        case 'b':
        case 'B':
        case 'h':
            WriteOfLocale(directive == 'h' ? 'b' : directive, IsWithin(date_.tm_mon, 11));
            return true;
        case 'p':
            WriteOfLocale(directive, true);
            return true;
        case 'c':
            WriteForm(directive, "%a %b %e %H:%M:%S %Y");
            return true;
        case 'x':
            WriteForm(directive, "%m/%d/%y");
            return true;
        case 'X':
            WriteForm(directive, "%H:%M:%S");
            return true;
        case 'C':
            WriteNumber(Floor(Year(), 100), 2);
            return true;
        case 'd':
            WriteNumber(date_.tm_mday, 2);
            return true;
        case 'D':
            WritePlain("%m/%d/%y");
            return true;
        case 'e':
            WriteNumber(date_.tm_mday, 2, ' ');
            return true;
        case 'F':
            WritePlain("%Y-%m-%d");
            return true;
        case 'g':
        case 'G':
        case 'V':
            WriteIsoWeek(directive);
            return true;
        case 'H':
            WriteNumber(hour, 2);
            return true;
        case 'I':
            WriteNumber(hour12, 2);
            return true;
        case 'j':
            WriteNumber(date_.tm_yday + 1LL, 3);
            return true;
        case 'm':
            WriteNumber(date_.tm_mon + 1LL, 2);
            return true;
        case 'M':
            WriteNumber(date_.tm_min, 2);
            return true;
        case 'n':
            text_ += '\n';
            return true;
        case 'r':
            WritePlain("%I:%M:%S %p");
            return true;
        case 'R':
            WritePlain("%H:%M");
            return true;
        case 'S':
            WriteNumber(date_.tm_sec, 2);
            return true;
        case 't':
            text_ += '\t';
            return true;
        case 'T':
            WritePlain("%H:%M:%S");
            return true;
        case 'u':
            WriteNumber(monday + 1, 1);
            return true;
        case 'U':
            WriteNumber((date_.tm_yday - date_.tm_wday + 7LL) / 7, 2);
            return true;
        case 'w':
            WriteNumber(date_.tm_wday, 1);
            return true;
        case 'W':
            WriteNumber((date_.tm_yday - monday + 7LL) / 7, 2);
            return true;
        case 'y':
            WriteNumber(Year() - 100 * Floor(Year(), 100), 2);
            return true;
        case 'Y':
            WriteNumber(Year(), 1);
            return true;
        case 'z':
            WriteOffset();
            return true;
        case 'Z':
            WriteZone();
            return true;
        case '%':
            text_ += '%';
            return true;
        default:
            return false;
    }
}

void DateText::WritePlain(const char* pattern) {
    Write(pattern, static_cast<std::size_t>(-1));
}

void DateText::WriteNumber(long long value, std::size_t width, char filler) {
    const std::string digits = std::to_string(value < 0 ? -value : value);
    const std::size_t size = digits.size() + (value < 0 ? 1 : 0);
    text_ += value < 0 ? "-" : "";
    text_.append(width > size ? width - size : 0, filler) += digits;
}

/// `strftime` gets only fields that msvcrt accepts.
void DateText::WriteOfLocale(char directive, bool inRange) {
    std::tm date{};
    date.tm_mday = 1;
    date.tm_hour = date_.tm_hour > 11 ? 12 : 0;
    if (directive == 'a' || directive == 'A') {
        date.tm_wday = date_.tm_wday;
    } else if (directive == 'b' || directive == 'B') {
        date.tm_mon = date_.tm_mon;
    }
    char room[128] = "?";
    const char pattern[] = {'%', directive, '\0'};
    text_.append(room, inRange ? std::strftime(room, sizeof room, pattern, &date) : 1);
}

/// Uses `strftime` in any other locale than C, if msvcrt accepts the date.
void DateText::WriteForm(char directive, const char* plain) {
    const char* const locale = std::setlocale(LC_TIME, nullptr);
    const bool takes = IsWithin(date_.tm_sec, 59) && IsWithin(date_.tm_min, 59) &&
                       IsWithin(date_.tm_hour, 23) && IsWithin(date_.tm_mday - 1, 30) &&
                       IsWithin(date_.tm_mon, 11) && IsWithin(date_.tm_year, 1099) &&
                       IsWithin(date_.tm_wday, 6) && IsWithin(date_.tm_yday, 365);
    if (!takes || locale == nullptr || std::strcmp(locale, "C") == 0) {
        WritePlain(plain);
        return;
    }
    std::tm date{};
    date.tm_sec = date_.tm_sec;
    date.tm_min = date_.tm_min;
    date.tm_hour = date_.tm_hour;
    date.tm_mday = date_.tm_mday;
    date.tm_mon = date_.tm_mon;
    date.tm_year = date_.tm_year;
    date.tm_wday = date_.tm_wday;
    date.tm_yday = date_.tm_yday;
    char room[256];
    const char pattern[] = {'%', directive, '\0'};
    text_.append(room, std::strftime(room, sizeof room, pattern, &date));
}

/// A week belongs to the year of its Thursday.
void DateText::WriteIsoWeek(char directive) {
    long long year = Year();
    long long thursday = date_.tm_yday - (date_.tm_wday + 6) % 7 + 3LL;  // days since the new year
    if (thursday < 0) {
        --year;
        thursday += IsLeap(year) ? 366 : 365;
    } else if (thursday >= (IsLeap(year) ? 366 : 365)) {
        thursday -= IsLeap(year) ? 366 : 365;
        ++year;
    }
    if (directive == 'V') {
        WriteNumber(thursday / 7 + 1, 2);
    } else if (directive == 'G') {
        WriteNumber(year, 1);
    } else {
        WriteNumber(year - 100 * Floor(year, 100), 2);
    }
}

void DateText::WriteOffset() {
    const int minutes = date_.tm_gmtoff / 60;
    text_ += date_.tm_gmtoff < 0 ? '-' : '+';
    WriteNumber(std::abs(minutes) / 60 * 100LL + std::abs(minutes) % 60, 4);
}

/// Only the offset of the zone is known, which is also how the zone database abbreviates many
/// zones.
void DateText::WriteZone() {
    if (date_.tm_gmtoff == 0) {
        text_ += "UTC";
        return;
    }
    WriteOffset();
    if (date_.tm_gmtoff / 60 % 60 == 0) {
        text_.resize(text_.size() - 2);
    }
}

}  // namespace zukel::platform
