#include "kelTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <ctime>

#include "kelStatus.h"
#include "support/System.h"

using zukel::test::kOnWindows;

namespace {

constexpr long long kSecond = 1000000;

std::string Format(const kelTime& time, const std::string& pattern = "%Y-%m-%d %H:%M:%S") {
    zuString text = "failed";
    const bool succeeded = time.GetFormatTime(text, pattern) == kelStatusOk;
    EXPECT_EQ(succeeded, text != "failed") << text;
    return text;
}

TEST(kelTime, Values_AreTheMomentOrTheMark) {
    struct Row {
        kelTime time;
        long long moment;
        const char* text;
    };
    const Row rows[] = {
        {kelTime(0), 0, "1970-01-01 00:00:00"},
        {kelTime(-1), -1, "failed"},
        {kelTime(-1500000), -1500000, kOnWindows ? "1969-12-31 23:59:58" : "1969-12-31 23:59:59"},
        {kelTime(LLONG_MAX), LLONG_MAX, kOnWindows ? "failed" : "294247-01-10 04:00:54"},
        {kelTime(LLONG_MIN), LLONG_MIN, kOnWindows ? "failed" : "-290308-12-21 19:59:06"},
        {kelTime(253402300799 * kSecond), 253402300799 * kSecond, "9999-12-31 23:59:59"},
        {kelTime(-11676096000 * kSecond), -11676096000 * kSecond, "1600-01-01 00:00:00"},
        {kelTime(951782400 * kSecond), 951782400 * kSecond, "2000-02-29 00:00:00"},
        {kelTime(7, 0, 0, 1, 1, 0, 70, 5, 300, 1, 3600), 7, "1970-01-01 01:00:00"},
        {kelTime(0, 0, 0, 0, 1, 0, 70, 0, 0, 0, 60), -60 * kSecond, "1970-01-01 00:00:00"},
        {kelTime(0, 0, 0, 0, 1, 12, 70, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 30, 23, 31, 11, 69, 0, 0, 0, -3600), -1, "failed"},
        {kelTime(0, 0, 0, 0, 60, 0, 70, 0, 0, 0, 0), 5097600 * kSecond,
         kOnWindows ? "failed" : "1970-01-60 00:00:00"},
        {kelTime(0, 0, 0, 0, 11, 0, 292347, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 11, 292000, 0, 0, 0, 0), -1, "failed"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.time.GetNumericEpochTime(), row.moment) << &row - rows;
        EXPECT_EQ(row.time.GetMicroSeconds(), row.moment > 0 ? row.moment : -1) << &row - rows;
        EXPECT_EQ(row.time.GetSeconds(), row.moment > 0 ? row.moment / kSecond : -1);
        EXPECT_EQ(Format(row.time), row.text);
        EXPECT_EQ(Format(kelTime(row.time)), Format(kelTime(row.moment))) << "a copy is universal";
    }
    EXPECT_EQ(Format(kelTime(0), std::string(255, 'x')), std::string(255, 'x'));
    EXPECT_EQ(Format(kelTime(0), ""), "");
    EXPECT_EQ(Format(kelTime(0), std::string(256, 'x')), "failed");
}

#ifndef _WIN32  // whose C library counts no date before 1970 and tells no offset from universal
                // time
TEST(kelTime, Dates_AgreeWithTheCLibrary) {
    constexpr time_t kFirst = -62135596800, kLast = 253402300799;  // years 1 to 9999
    const char* const pattern = "%FT%T%z %a %b %c %G %I %j %V %%";
    for (const char* const zone : {"UTC", "Europe/Berlin", "XYZ-3:30ZYX,M3.2.0,M11.1.0", "none"}) {
        setenv("TZ", zone, 1);
        for (time_t moment = kFirst; moment < kLast; moment += 87654321) {
            kelTime time(moment * kSecond);
            tm at = *gmtime(&moment);
            if (moment % 2 == 0) {
                time.MakeLocalTime();
                at = *localtime(&moment);
            }
            const kelTime made(0, at.tm_sec, at.tm_min, at.tm_hour, at.tm_mday, at.tm_mon,
                               at.tm_year, at.tm_wday, at.tm_yday, at.tm_isdst,
                               static_cast<int>(at.tm_gmtoff));
            const bool valid = moment + at.tm_gmtoff >= 0;
            ASSERT_EQ(made.GetNumericEpochTime(), valid ? moment * kSecond : -1);
            char text[256] = "";
            std::strftime(text, sizeof text, pattern, &at);
            ASSERT_EQ(Format(time, pattern), text) << zone << " at " << moment;
            ASSERT_EQ(Format(made, pattern), valid ? text : "failed");
        }
    }
    unsetenv("TZ");
}
#endif

TEST(kelTime, PresentMomentAndSleep_AreOfTheSystemClockThroughSignals) {
    const zukel::test::Guard signals = zukel::test::FrequentSignals();
    for (const long long wanted : {LLONG_MIN, -1LL, 0LL, 1LL, 30000LL}) {
        const kelTime before = kelTime::GetNow();
        EXPECT_LE(std::abs(before.GetSeconds() - std::time(nullptr)), 2);
        EXPECT_EQ(kelTime::Sleep(wanted), kelStatusOk);
        kelTime after(-1), current(-1), copy(-1);
        current.MakeCurrentTime();
        EXPECT_LE(std::abs(current.GetSeconds() - kelTime::GetCurrentTime().GetSeconds()), 2);
        copy = current;
        EXPECT_EQ(copy.GetNumericEpochTime(), current.GetNumericEpochTime());
        after.MakeLocalTime();
        EXPECT_GE(after.GetMicroSeconds(), before.GetMicroSeconds() + std::max(wanted, 0LL));
        EXPECT_LT(after.GetMicroSeconds(), before.GetMicroSeconds() + 5 * kSecond);
    }
}

}  // namespace
