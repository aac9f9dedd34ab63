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
    struct {
        kelTime time;
        long long moment;
        const char* text;
    } const rows[] = {
        {kelTime(0), 0, "1970-01-01 00:00:00"},
        {kelTime(-1), -1, "failed"},
        {kelTime(-1500000), -1500000, "1969-12-31 23:59:58"},
        {kelTime(LLONG_MAX), LLONG_MAX, kOnWindows ? "failed" : "294247-01-10 04:00:54"},
        {kelTime(LLONG_MIN), LLONG_MIN, kOnWindows ? "failed" : "-290308-12-21 19:59:05"},
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
    }
    EXPECT_EQ(Format(kelTime(0), std::string(255, 'x')), std::string(255, 'x'));
    EXPECT_EQ(Format(kelTime(0), std::string(256, 'x')) + Format(kelTime(0), ""), "failed");
}

TEST(kelTime, PresentMomentAndSleep_AreOfTheSystemClock) {
    kelTime current(-1), local(-1), copy(-1);
    current.MakeCurrentTime(), local.MakeLocalTime();
    copy = current, copy = *&copy;
    for (const kelTime& now : {kelTime::GetNow(), kelTime::GetCurrentTime(), copy, local}) {
        EXPECT_LE(std::abs(now.GetSeconds() - std::time(nullptr)), 2);
    }
    for (const long long wanted : {LLONG_MIN, -1LL, 0LL, 1LL, 30000LL}) {
        const long long before = kelTime::GetNow().GetMicroSeconds();
        EXPECT_EQ(kelTime::Sleep(wanted), kOk);
        const long long passed = kelTime::GetNow().GetMicroSeconds() - before;
        EXPECT_TRUE(passed >= std::max(wanted, 0LL) && passed < 5 * kSecond) << passed;
    }
}

}  // namespace
