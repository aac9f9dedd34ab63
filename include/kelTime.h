#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelTimeRecord;

// <windows.h> defines a macro of this name. It must not rename the member, wherever that header is
// included: for calls that the macro renames there is the alias `GetTickCount`.
#pragma push_macro("GetCurrentTime")
#undef GetCurrentTime

/// A moment, as microseconds since 1970-01-01 00:00:00 UTC and as a calendar date for formatting.
///
/// The microseconds are the value. The date is in UTC, except after `MakeLocalTime` (local time)
/// and after the constructor from eleven values (as given). A copy takes the value alone; its date
/// is in UTC again.
///
/// | State     | value            | date          | entered by                               |
/// |-----------|------------------|---------------|------------------------------------------|
/// | UTC       | the microseconds | UTC           | microseconds, `MakeCurrentTime`, copying |
/// | as given  | the microseconds | of its zone   | the constructor from eleven values       |
/// | local     | the microseconds | the process's | `MakeLocalTime`                          |
/// | invalid   | -1               | none          | a constructor without a valid moment     |
///
/// An invalid object returns -1 for each number, and its `GetFormatTime` fails. `MakeCurrentTime`,
/// `MakeLocalTime` and assignment make it valid again.
///
/// Threads: one thread at a time may use an object; different objects are independent. No operation
/// needs APR to be started.
///
/// @code
/// const kelTime moment(1700000000000000);  // or kelTime::GetNow()
/// zuString text;
/// if (moment.GetFormatTime(text, "%Y-%m-%d %H:%M:%S") == kelStatusOk) {
///     std::puts(text.c_str());  // prints: 2023-11-14 22:13:20
/// }
/// @endcode
class KEL_API kelTime {
public:
    /// The moment `microSeconds` after the epoch. Throws `std::bad_alloc` without memory, as every
    /// operation that makes an object does.
    explicit kelTime(long long microSeconds);
    /// The moment of a date and time of day in a zone `secondsEast` of UTC.
    ///
    /// Nothing is normalised or compared. Days, hours, minutes, seconds and microseconds count from
    /// the start of the month, even beyond their usual ranges; `weekDay`, `yearDay` and
    /// `daylightSaving` are used for formatting only. The object is invalid if
    /// - `month` is outside 0 to 11;
    /// - the date and time of day are before 1970-01-01 00:00:00, ignoring `secondsEast` and
    ///   `microSeconds`;
    /// - the value does not fit 64 bits (every moment up to the end of the year 294246 does).
    ///
    /// @param monthDay 1 is the first of the month.
    /// @param month 0 is January.
    /// @param year years since 1900.
    /// @param weekDay 0 is Sunday.
    /// @param yearDay 0 is the first of January.
    /// @param daylightSaving 0 if it is not in force.
    /// @param secondsEast seconds that the zone is ahead of UTC: 3600 in Paris in winter.
    kelTime(int microSeconds, int seconds, int minutes, int hours, int monthDay, int month,
            int year, int weekDay, int yearDay, int daylightSaving, int secondsEast);
    /// Takes the value of `other`, with its date in UTC.
    kelTime(const kelTime& other);
    ~kelTime();
    /// Takes the value of `other`, with its date in UTC. Self-assignment changes nothing.
    kelTime& operator=(const kelTime& other);

    /// The present moment.
    static kelTime GetNow();
    /// The same.
    static kelTime GetCurrentTime();

    /// Microseconds since some moment before the process, by a clock that is never set and never
    /// goes back. For measuring durations; on Linux it stops while the machine is suspended.
    static long long GetMonotonicTime();

    /// Formats the date into `out` by a pattern of the C library's `strftime`. Names of days and
    /// months are in the language that the program has set with `setlocale`.
    ///
    /// @returns `kelStatusFailed`, with `out` unchanged, if the object is invalid or the text has
    /// more than 255 bytes. A pattern that produces no text, such as the empty one, succeeds.
    ///
    /// No directive shows microseconds: a moment between two seconds is shown as the earlier one,
    /// before 1970 too (-1500000 as 23:59:58). Fields out of their ranges produce odd text, never
    /// undefined behaviour.
    ///
    /// Linux: `%Z` and `%s` treat every date as one in the process's own zone. They are right only
    /// after `MakeLocalTime`, and only until the next `MakeLocalTime` of any object or a change of
    /// `TZ`. `%z` is always right. Windows: `%z` and `%Z` are right for every date, with `%Z` as
    /// UTC or as hours from it; the directives are those of C11.
    int GetFormatTime(zuString& out, const zuString& format) const;

    /// The value, or -1 if it is 0 or less.
    long long GetMicroSeconds() const;
    /// The value in whole seconds, rounded down, or -1 if the value is 0 or less.
    long long GetSeconds() const;
    /// The value as it is, including 0, negative values and the -1 of an invalid object.
    long long GetNumericEpochTime() const;

    /// Takes the present moment, with the date in UTC.
    void MakeCurrentTime();

    /// Converts the date to local time; the value stays. An invalid object takes the present moment
    /// first. Linux: the zone is that of the variable `TZ` at the time of the call; no other thread
    /// may set variables meanwhile. Windows: the zone is the system's; outside the years 1601 to
    /// 30827 the object is invalid afterwards.
    void MakeLocalTime();

    /// Sleeps for at least `microSeconds`, even if signals arrive; 0 and negative durations return
    /// at once. Always `kelStatusOk`.
    static int Sleep(long long microSeconds);

    /// @name Aliases for callers that have included <windows.h>
    /// @{

    /// The same as `GetCurrentTime`.
    static kelTime GetTickCount() { return GetCurrentTime(); }
    /// @}

private:
    kelTimeRecord* record_;
};

#pragma pop_macro("GetCurrentTime")
