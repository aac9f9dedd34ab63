#include "platform/Dates.h"

#include <cerrno>
#include <ctime>
#include <string>

namespace zukel::platform {

namespace {

/// Splits a moment by a function of the C library.
apr_status_t Split(apr_time_exp_t& date, apr_time_t moment,
                   tm* (*split)(const time_t*, tm*)) noexcept {
    // A moment between two seconds belongs to the one before it, also before 1970, where dividing
    // rounds the other way.
    const auto rest = static_cast<int>(moment % APR_USEC_PER_SEC);
    const auto second = static_cast<time_t>(moment / APR_USEC_PER_SEC - (rest < 0 ? 1 : 0));
    tm parts{};
    if (split(&second, &parts) == nullptr) {
        return errno;
    }
    date = {rest < 0 ? rest + static_cast<int>(APR_USEC_PER_SEC) : rest,
            parts.tm_sec,
            parts.tm_min,
            parts.tm_hour,
            parts.tm_mday,
            parts.tm_mon,
            parts.tm_year,
            parts.tm_wday,
            parts.tm_yday,
            parts.tm_isdst,
            static_cast<apr_int32_t>(parts.tm_gmtoff)};
    return APR_SUCCESS;
}

}  // namespace

apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    return Split(date, moment, gmtime_r);
}

apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    return Split(date, moment, localtime_r);
}

void ReadTimeZone() noexcept {
    tzset();
}

bool FormatDate(const apr_time_exp_t& date, const char* pattern, char* buffer, std::size_t size,
                std::size_t& length) {
    // The call does not change it.
    auto* const exp = const_cast<apr_time_exp_t*>(&date);
    if (apr_strftime(buffer, &length, size, pattern, exp) != APR_SUCCESS) {
        return false;
    }
    if (length != 0) {
        return true;
    }
    // Length 0 means no text, or one that does not fit: a leading space distinguishes the two. At
    // the end, it could complete a directive.
    const std::string marked = std::string(" ") + pattern;
    const bool empty =
        apr_strftime(buffer, &length, size, marked.c_str(), exp) == APR_SUCCESS && length != 0;
    length = 0;
    return empty;
}

}  // namespace zukel::platform
