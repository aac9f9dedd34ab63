#include <climits>
#include <ctime>

#include "support/Testing.h"

using namespace zukel::test;

constexpr long long kSecond = 1000000;

static std::string Format(const kelTime& time, const std::string& pattern = "%Y-%m-%d %H:%M:%S") {
    zuString text = "failed";
    const bool succeeded = time.GetFormatTime(text, pattern) == kOk;
    EXPECT_EQ(succeeded, text != "failed") << text;
    return text;
}

TEST(kelTimeTest, Values_AreTheMomentOrTheMark) {
    struct {
        kelTime time;
        long long moment;
        const char* text;
    } const rows[] = {
        {kelTime(0), 0, "1970-01-01 00:00:00"},
        {kelTime(-1), -1, "failed"},
        {kelTime(-1500000), -1500000, "1969-12-31 23:59:58"},
        {kelTime(253402300800 * kSecond - 1), 253402300800 * kSecond - 1, "9999-12-31 23:59:59"},
        {kelTime(LLONG_MAX), LLONG_MAX, "294247-01-10 04:00:54"},
        {kelTime(LLONG_MIN), LLONG_MIN, "-290308-12-21 19:59:05"},
        {kelTime(7, 0, 0, 1, 1, 0, 70, 5, 300, 1, 3600), 7, "1970-01-01 01:00:00"},
        {kelTime(0, 0, 0, 0, 1, 12, 70, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 0, 0, 11, 0, 292347, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 11, 292000, 0, 0, 0, 0), -1, "failed"},
    };
    for (const auto& [time, moment, text] : rows) {
        EXPECT_EQ(time.GetNumericEpochTime(), moment) << text;
        EXPECT_EQ(time.GetMicroSeconds(), moment > 0 ? moment : -1) << text;
        EXPECT_EQ(time.GetSeconds(), moment > 0 ? moment / kSecond : -1);
        EXPECT_EQ(Format(time), text);
        EXPECT_EQ(Format(kelTime(time)), Format(kelTime(moment))) << "a copy is universal";
        kelTime assigned(-1);
        assigned.MakeCurrentTime();
        assigned = kelTime(moment);  // whose date nobody has asked for yet
        EXPECT_EQ(Format(assigned), Format(kelTime(moment)));
    }
    EXPECT_EQ(Format(kelTime(0), std::string(255, 'x')), std::string(255, 'x'));
    EXPECT_EQ(Format(kelTime(0), std::string(256, 'x')) + Format(kelTime(0), ""), "failed");
}

TEST(kelTimeTest, OnePatternGivesOneText) {
    const std::string date = "%F %T %D %R %r %C %y %e %g-%G-%V %h %j %u%w %U %W %I%n%t%%";
    const struct {
        kelTime time;
        std::string pattern, text;
    } rows[] = {
        {kelTime(0), date,
         "1970-01-01 00:00:00 01/01/70 00:00 12:00:00 AM 19 70  1 70-1970-01 Jan 001 44 00 00 "
         "12\n\t%"},
        {kelTime(1704034799 * kSecond), date,  // the last week of 2023 ends with its year
         "2023-12-31 14:59:59 12/31/23 14:59 02:59:59 PM 20 23 31 23-2023-52 Dec 365 70 53 52 "
         "02\n\t%"},
        {kelTime(1735603200 * kSecond), "%G-%V %c|%x|%X|%a %A %B|%EY %Od",
         "2025-01 Tue Dec 31 00:00:00 2024|12/31/24|00:00:00|Tue Tuesday December|2024 31"},
        {kelTime(0), "%z", "+0000"},
        {kelTime(0, 0, 0, 19, 31, 11, 99, 5, 364, 0, -18000), "%F %H %z", "1999-12-31 19 -0500"},
        {kelTime(0, 0, 0, 19, 31, 11, 99, 5, 364, 0, 20700), "%z", "+0545"},
        {kelTime(0), std::string(400, '%'), std::string(200, '%')},
        {kelTime(0), "%Q %", "%Q %"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Format(row.time, row.pattern), row.text) << row.pattern;
    }
}

TEST(kelTimeTest, PresentMomentAndSleep_AreOfTheClocks) {
    kelTime current(-1), local(-1), copy(-1);
    current.MakeCurrentTime(), local.MakeLocalTime();
    copy = current, copy = *&copy;
    for (const kelTime& now : {kelTime::GetNow(), kelTime::GetCurrentTime(), copy, local}) {
        EXPECT_NEAR(double(now.GetSeconds()), double(std::time(nullptr)), 2);
    }
    for (const long long wanted : {LLONG_MIN, -1LL, 0LL, 1LL, 30000LL}) {
        const long long before = kelTime::GetNow().GetMicroSeconds();
        const long long start = kelTime::GetMonotonicTime();
        EXPECT_EQ(kelTime::Sleep(wanted), kOk);
        for (const long long passed :
             {kelTime::GetMonotonicTime() - start, kelTime::GetNow().GetMicroSeconds() - before}) {
            EXPECT_GE(passed, std::max(wanted, 0LL));
            EXPECT_LT(passed, 5 * kSecond);
        }
    }
    for (long long round = 0, last = 0; round < 10000; ++round) {
        const long long now = kelTime::GetMonotonicTime();
        ASSERT_GE(now, std::exchange(last, now)) << "it never goes back";
    }
}
