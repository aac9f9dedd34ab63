#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelTimeRecord;

// <windows.h> has a macro of this name. It must not rename the member, whether that header comes
// before this one or after it; see `GetTickCount` below.
#pragma push_macro("GetCurrentTime")
#undef GetCurrentTime

/// One moment, held as microseconds since 1970-01-01 00:00:00 universal time and as a calendar date
/// that serves formatting.
///
/// The microseconds are the value. The date is in universal time, but after `MakeLocalTime` in
/// local time, and after the constructor from eleven values as given. Copies take the value; their
/// date is in universal time again.
///
/// | State     | value            | date          | entered by                               |
/// |-----------|------------------|---------------|------------------------------------------|
/// | universal | the microseconds | universal     | microseconds, `MakeCurrentTime`, copying |
/// | as given  | the microseconds | of its zone   | the constructor from eleven values       |
/// | local     | the microseconds | the process's | `MakeLocalTime`                          |
/// | invalid   | -1               | none          | a constructor that was given no moment   |
///
/// An invalid object gives -1 for each number, and its `GetFormatTime` fails. `MakeCurrentTime`,
/// `MakeLocalTime` and assignment end that.
///
/// Threads: one object is used by one thread at a time; different objects are independent. The
/// runtime is neither needed nor started.
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
    /// operation does that makes an object.
    explicit kelTime(long long microSeconds);
    /// The moment of a date and time of day at `secondsEast` of universal time.
    ///
    /// Nothing is normalised or compared: days, hours, minutes, seconds and microseconds count from
    /// the start of the month, whatever their number; `weekDay`, `yearDay` and `daylightSaving`
    /// serve formatting alone. There is no valid time when the month is not within 0 to 11, when
    /// the date and time of day, before `secondsEast` is taken off and without the microseconds,
    /// lie before 1970-01-01 00:00:00, and when the microseconds do not fit into 64 bits (all of
    /// the year 294246 does).
    ///
    /// @param monthDay 1 is the first of the month.
    /// @param month 0 is January.
    /// @param year since 1900.
    /// @param weekDay 0 is Sunday.
    /// @param yearDay 0 is the first of January.
    /// @param daylightSaving 0 when it is not in force.
    /// @param secondsEast what the zone is ahead of universal time: 3600 in Paris in winter.
    kelTime(int microSeconds, int seconds, int minutes, int hours, int monthDay, int month,
            int year, int weekDay, int yearDay, int daylightSaving, int secondsEast);
    /// Takes the value of `other`, with its date in universal time.
    kelTime(const kelTime& other);
    ~kelTime();
    /// Takes the value of `other`, with its date in universal time. Self-assignment changes
    /// nothing.
    kelTime& operator=(const kelTime& other);

    /// The present moment.
    static kelTime GetNow();
    /// The same.
    static kelTime GetCurrentTime();

    /// Microseconds since some moment before the process, by a clock that nobody sets: it never
    /// goes back. For lengths of time; on Linux it stands still while the machine sleeps.
    static long long GetMonotonicTime();

    /// Writes the date into `out` by a pattern of the C library's `strftime`, names of days and
    /// months in the language that the program has set with `setlocale`.
    ///
    /// @returns `kelStatusFailed`, with `out` unchanged, when the object holds no valid time or the
    /// text has more than 255 bytes. A pattern that gives no text, such as the empty one, succeeds.
    ///
    /// No directive gives the microseconds. Linux: before 1970 a part of a second is dropped as it
    /// is behind: -1500000 is shown as 23:59:59. `%Z` and `%s` read every date as one of the
    /// process's own zone, and `TZ` as it stands: they are right after `MakeLocalTime` only, until
    /// that of any object or a change of `TZ`; `%z` always is. Fields that were given out of their
    /// range come out as odd text, never as a fault. Windows: `%z` and `%Z` are the date's own,
    /// `%Z` as UTC or by its hours; names and forms are those of C11.
    int GetFormatTime(zuString& out, const zuString& format) const;

    /// The value, or -1 when it is 0 or less.
    long long GetMicroSeconds() const;
    /// The value in whole seconds, rounded down, or -1 when it is 0 or less.
    long long GetSeconds() const;
    /// The value as it is: 0, negative values and the mark -1 as well.
    long long GetNumericEpochTime() const;

    /// Takes the present moment, with the date in universal time.
    void MakeCurrentTime();

    /// Turns the date to local time; the value stays. An object without a valid time takes the
    /// present moment first. Linux: the zone is that of the variable `TZ` as it stands at the call,
    /// which is read without a guard against another thread that sets variables. Windows: the zone
    /// is the system's; outside of the years 1601 to 30827 the object is invalid afterwards.
    void MakeLocalTime();

    /// Sleeps for at least `microSeconds`, also when signals come in between; 0 and negative
    /// durations return at once. Always `kelStatusOk`.
    static int Sleep(long long microSeconds);

    /// @name Under the name that windows.h makes of a call to GetCurrentTime
    /// @{

    /// The same as `GetCurrentTime`.
    static kelTime GetTickCount() { return GetCurrentTime(); }
    /// @}

private:
    kelTimeRecord* record_;
};

#pragma pop_macro("GetCurrentTime")
