#include "platform/windows/DateText.h"

#include <cstring>

#include "platform/Dates.h"
#include "platform/windows/System.h"

namespace zukel::platform {

namespace {

constexpr apr_time_t kTicks = 10;  // of the system in a microsecond
constexpr apr_time_t kBefore1970 = APR_TIME_C(11644473600) * APR_USEC_PER_SEC;  // since 1601

FILETIME FileTime(apr_time_t moment) noexcept {
    const auto ticks = static_cast<std::uint64_t>((moment + kBefore1970) * kTicks);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
}

apr_time_t Moment(const FILETIME& time) noexcept {
    const auto high = static_cast<std::uint64_t>(time.dwHighDateTime) << 32U;
    return static_cast<apr_time_t>(high | time.dwLowDateTime) / kTicks - kBefore1970;
}

/// The system's zone as it was, or will be, in the year of the local date.
bool ZoneAt(const SYSTEMTIME& universal, TIME_ZONE_INFORMATION& zone, SYSTEMTIME& local) noexcept {
    DYNAMIC_TIME_ZONE_INFORMATION zones{};
    const auto convert = [&](WORD year) {
        return GetTimeZoneInformationForYear(year, &zones, &zone) != 0 &&
               SystemTimeToTzSpecificLocalTime(&zone, &universal, &local) != 0;
    };
    return GetDynamicTimeZoneInformation(&zones) != TIME_ZONE_ID_INVALID &&
           convert(universal.wYear) && (local.wYear == universal.wYear || convert(local.wYear));
}

}  // namespace

apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    constexpr apr_time_t kDay = APR_TIME_C(86400) * APR_USEC_PER_SEC;
    apr_time_t days = moment / kDay;
    apr_time_t rest = moment % kDay;
    if (rest < 0) {
        rest += kDay;
        --days;
    }
    const auto seconds = static_cast<int>(rest / APR_USEC_PER_SEC);
    // Years start in March, so that a leap day is the last day of its year. The Gregorian calendar
    // repeats every 400 years (an era); day 0 is 1 March of the year 0.
    const apr_time_t since = days + 719468;
    const apr_time_t era = (since >= 0 ? since : since - 146096) / 146097;
    const auto dayOfEra = static_cast<int>(since - era * 146097);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int month = (5 * dayOfYear + 2) / 153;  // 0 is March
    const apr_time_t year = era * 400 + yearOfEra + (month >= 10 ? 1 : 0);
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    date = {};
    date.tm_usec = static_cast<int>(rest % APR_USEC_PER_SEC);
    date.tm_sec = seconds % 60;
    date.tm_min = seconds / 60 % 60;
    date.tm_hour = seconds / 3600;
    date.tm_mday = dayOfYear - (153 * month + 2) / 5 + 1;
    date.tm_mon = month >= 10 ? month - 10 : month + 2;
    date.tm_year = static_cast<int>(year - 1900);
    date.tm_wday = static_cast<int>(((days + 4) % 7 + 7) % 7);
    date.tm_yday = month >= 10 ? dayOfYear - 306 : dayOfYear + 59 + (leap ? 1 : 0);
    return APR_SUCCESS;
}

apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    constexpr apr_time_t kLast = APR_TIME_C(910670428800) * APR_USEC_PER_SEC;  // 30828
    if (moment < -kBefore1970 || moment >= kLast) {
        return APR_EINVAL;
    }
    const FILETIME time = FileTime(moment);
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    FILETIME localTime{};
    FILETIME whole{};
    TIME_ZONE_INFORMATION zone{};
    if (FileTimeToSystemTime(&time, &universal) == 0 || !ZoneAt(universal, zone, local) ||
        SystemTimeToFileTime(&universal, &whole) == 0 ||
        SystemTimeToFileTime(&local, &localTime) == 0) {
        return LastStatus();
    }
    const apr_time_t offset = Moment(localTime) - Moment(whole);
    const apr_status_t status = UniversalDate(date, moment + offset);
    date.tm_gmtoff = static_cast<int>(offset / APR_USEC_PER_SEC);
    date.tm_isdst = date.tm_gmtoff != -60 * (zone.Bias + zone.StandardBias) ? 1 : 0;
    return status;
}

void ReadTimeZone() noexcept {}

bool FormatDate(const apr_time_exp_t& date, const char* pattern, char* buffer, std::size_t size,
                std::size_t& length) {
    DateText text(date);
    if (!text.Write(pattern, size - 1)) {
        return false;
    }
    length = text.Get().size();
    std::memcpy(buffer, text.Get().data(), length);
    return true;
}

}  // namespace zukel::platform
