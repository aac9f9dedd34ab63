#include <climits>
#include <ctime>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr long long kSecond = 1000000;

std::string Format(const kelTime& time, const std::string& pattern = "%Y-%m-%d %H:%M:%S") {
    zuString text = "failed";
    const bool succeeded = time.GetFormatTime(text, pattern) == kOk;
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
        {kelTime(7, 0, 0, 1, 1, 0, 70, 5, 300, 1, 3600), 7, "1970-01-01 01:00:00"},
        {kelTime(0, 0, 0, 0, 1, 0, 70, 0, 0, 0, 60), -60 * kSecond, "1970-01-01 00:00:00"},
        {kelTime(0, 0, 0, 0, 1, 12, 70, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 30, 23, 31, 11, 69, 0, 0, 0, -3600), -1, "failed"},
        {kelTime(0, 0, 0, 0, 11, 0, 292347, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 11, 292000, 0, 0, 0, 0), -1, "failed"},
    };
    for (const auto& [time, moment, text] : rows) {
        EXPECT_EQ(time.GetNumericEpochTime(), moment) << text;
        EXPECT_EQ(time.GetMicroSeconds(), moment > 0 ? moment : -1) << text;
        EXPECT_EQ(time.GetSeconds(), moment > 0 ? moment / kSecond : -1);
        EXPECT_EQ(Format(time), text);
        EXPECT_EQ(Format(kelTime(time)), Format(kelTime(moment))) << "a copy is universal";
    }
    EXPECT_EQ(Format(kelTime(0), std::string(255, 'x')), std::string(255, 'x'));
    EXPECT_EQ(Format(kelTime(0), std::string(256, 'x')) + Format(kelTime(0), ""), "failed");
}

TEST(kelTime, PresentMomentAndSleep_AreOfTheSystemClock) {
    for (const long long wanted : {LLONG_MIN, -1LL, 0LL, 1LL, 30000LL}) {
        const kelTime before = kelTime::GetNow();
        EXPECT_LE(std::abs(before.GetSeconds() - std::time(nullptr)), 2);
        EXPECT_EQ(kelTime::Sleep(wanted), kOk);
        kelTime after(-1), current(-1), copy(-1);
        current.MakeCurrentTime();
        EXPECT_LE(std::abs(current.GetSeconds() - kelTime::GetCurrentTime().GetSeconds()), 2);
        copy = current;
        copy = *&copy;
        EXPECT_EQ(copy.GetNumericEpochTime(), current.GetNumericEpochTime());
        after.MakeLocalTime();
        const long long passed = after.GetMicroSeconds() - before.GetMicroSeconds();
        EXPECT_TRUE(passed >= std::max(wanted, 0LL) && passed < 5 * kSecond) << passed;
    }
}

}  // namespace
