#pragma once

#include <apr_time.h>

#include <cstddef>

/// What the platform provides for dates. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
namespace zukel::platform {

/// Splits a moment into its date in UTC. A moment between two seconds belongs to the one
/// before it, as with APR only from 1970 on. Linux: `gmtime_r`. Windows: computed; APR (1.7.2)
/// drops the system's refusal of dates before 1601 and after 30827.
///
/// @returns APR's status.
apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept;

/// Splits a moment into its date in local time. Linux: `localtime_r`. Windows: by the rules that
/// the system's zone has in that year, within those years alone.
///
/// @returns APR's status.
apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept;

/// Makes the next conversion to local time one for the zone that the process is set to now.
/// Windows: nothing to do, each conversion queries the system. Linux: `tzset`; without it the
/// variable `TZ` is read only once.
void ReadTimeZone() noexcept;

/// Writes a date by a pattern of `strftime`, names in the language of the program's locale. Linux:
/// `apr_strftime`. Windows: what glibc writes in its C locale, with the date's own offset for `%z`.
///
/// @param buffer room for `size` bytes; its content is undefined on failure.
/// @param length receives the number of bytes; a NUL need not follow them.
/// @returns false when the text has `size` bytes or more, or the system refuses the pattern. Throws
/// `std::bad_alloc`.
bool FormatDate(const apr_time_exp_t& date, const char* pattern, char* buffer, std::size_t size,
                std::size_t& length);

}  // namespace zukel::platform
