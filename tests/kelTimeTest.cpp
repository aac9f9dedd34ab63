#include "kelTime.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <utility>

#include "kelStatus.h"

namespace {

constexpr long long kSecond = 1000000;

std::string Format(const kelTime& time, const std::string& pattern = "%Y-%m-%d %H:%M:%S") {
    zuString text = "unchanged";
    const int status = time.GetFormatTime(text, pattern);
    EXPECT_TRUE(status == kelStatusOk || (status == kelStatusFailed && text == "unchanged"));
    return status == kelStatusOk ? text : "failed";
}

/// The variable TZ for the length of a test; the zone itself is read by whoever needs it.
class Zone {
public:
    explicit Zone(const char* zone) {
        if (const char* const former = std::getenv("TZ")) {
            former_ = former;
        }
        setenv("TZ", zone, 1);
    }
    ~Zone() {
        former_.empty() ? unsetenv("TZ") : setenv("TZ", former_.c_str(), 1);
        tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    std::string former_;
};

TEST(kelTime, Numbers_AreTheMomentOrTheMark) {
    struct Row {
        long long moment, microSeconds, seconds;
        const char* text;
    };
    const Row rows[] = {
        {0, -1, -1, "1970-01-01 00:00:00"},
        {1, 1, 0, "1970-01-01 00:00:00"},
        {999999, 999999, 0, "1970-01-01 00:00:00"},
        {kSecond, kSecond, 1, "1970-01-01 00:00:01"},
        {-1, -1, -1, "failed"},
        {-5, -1, -1, "1970-01-01 00:00:00"},
        {-1500000, -1, -1, "1969-12-31 23:59:59"},
        {951782400 * kSecond, 951782400 * kSecond, 951782400, "2000-02-29 00:00:00"},
        {LLONG_MAX, LLONG_MAX, LLONG_MAX / kSecond, "294247-01-10 04:00:54"},
        {LLONG_MIN, -1, -1, "-290308-12-21 19:59:06"},
    };
    for (const Row& row : rows) {
        const kelTime time(row.moment);
        kelTime assigned(12345);
        assigned = time;
        for (const kelTime& each : {time, kelTime(time), assigned}) {
            EXPECT_EQ(each.GetNumericEpochTime(), row.moment);
            EXPECT_EQ(each.GetMicroSeconds(), row.microSeconds) << row.moment;
            EXPECT_EQ(each.GetSeconds(), row.seconds) << row.moment;
            EXPECT_EQ(Format(each), row.text) << row.moment;
        }
    }
}

TEST(kelTime, ElevenValues_AreADateAtAnOffset) {
    struct Row {
        kelTime time;
        long long moment;
        const char* text;  // of the date as given
    };
    const Row rows[] = {
        {kelTime(0, 0, 0, 0, 1, 0, 70, 0, 0, 0, 0), 0, "1970-01-01 00:00:00"},
        {kelTime(0, 0, 0, 1, 1, 0, 70, 0, 0, 0, 3600), 0, "1970-01-01 01:00:00"},
        {kelTime(7, 0, 0, 0, 1, 0, 70, 5, 300, 1, 0), 7, "1970-01-01 00:00:00"},
        {kelTime(0, 0, 0, 0, 1, 12, 70, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 0, 0, 1, -1, 99, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 30, 23, 31, 11, 69, 0, 0, 0, -3600), -1, "failed"},
        {kelTime(0, 0, 0, 0, 1, 0, 70, 0, 0, 0, 60), -60 * kSecond, "1970-01-01 00:00:00"},
        {kelTime(0, 0, 0, 0, 60, 0, 70, 0, 0, 0, 0), 59 * 86400 * kSecond, "1970-01-60 00:00:00"},
        {kelTime(0, 59, 59, 23, 31, 11, 294246 - 1900, 0, 0, 0, 0), 9223371244799000000,
         "294246-12-31 23:59:59"},
        {kelTime(0, 0, 0, 0, 11, 0, 294247 - 1900, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, 0, 0, 0, 1, 0, INT_MAX, 0, 0, 0, 0), -1, "failed"},
        {kelTime(0, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 11, 292000, 0, 0, 0, INT_MIN), -1,
         "failed"},
        {kelTime(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, 0, INT_MIN, 0, 0, 0, 0), -1,
         "failed"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.time.GetNumericEpochTime(), row.moment) << row.text;
        EXPECT_EQ(Format(row.time), row.text);
        EXPECT_EQ(Format(kelTime(row.time)), Format(kelTime(row.moment))) << "a copy is universal";
    }
    EXPECT_EQ(Format(kelTime(0, 0, 0, 0, 60, 0, 70, 2, 0, 0, 0), "%d %a"), "60 Tue");
}

/// Days from 1970-01-01, counted from the year 1 on by whole years and months.
long long DaysUntil(long long year, int month, int day) {
    const auto leap = [](long long of) { return of % 4 == 0 && (of % 100 != 0 || of % 400 == 0); };
    const auto before = [](long long of) {
        return (of - 1) * 365 + (of - 1) / 4 - (of - 1) / 100 + (of - 1) / 400;
    };
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    long long days = before(year) - before(1970) + day - 1;
    for (int passed = 0; passed < month; ++passed) {
        days += kDays[passed] + (passed == 1 && leap(year) ? 1 : 0);
    }
    return days;
}

TEST(kelTime, ElevenValues_AgreeWithAnotherCalendar) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto any = [&](int low, int high) {
        return std::uniform_int_distribution(low, high)(random);
    };
    for (int round = 0; round < 20000; ++round) {
        const int year = round % 2 == 0 ? any(1970, 2200) : any(1970, 294245);
        const int month = any(0, 11);
        const int day = any(1, 31);  // the thirtieth of February is the second of March
        const int hour = any(0, 23), minute = any(0, 59), second = any(0, 60),
                  part = any(0, 999999);
        const int east = any(-14 * 3600, 14 * 3600);
        const kelTime time(part, second, minute, hour, day, month, year - 1900, any(-9, 9),
                           any(-9, 999), any(-1, 1), east);
        const long long seconds =
            (DaysUntil(year, month, day) * 24 + hour) * 3600 + minute * 60 + second - east;
        ASSERT_EQ(time.GetNumericEpochTime(), seconds * kSecond + part)
            << year << '-' << month + 1 << '-' << day << ' ' << hour << ':' << minute << ':'
            << second << ' ' << east;
    }
}

TEST(kelTime, Formats_AgreeWithTheCLibrary) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long long> moments(-62135596800,
                                                     253402300799);  // years 1 to 9999
    const char* const patterns[] = {"%Y-%m-%dT%H:%M:%S%z",
                                    "%a %A %b %B %c",
                                    "%C %d %D %e %F %g %G",
                                    "%I %j %p %r %R %T",
                                    "%u %U %V %w %W %x %X %y %%",
                                    "%n%t",
                                    "plain",
                                    "",
                                    "%",
                                    "%Ey %Od",
                                    "100 %"};
    const char* const zones[] = {
        "UTC", "Europe/Berlin", "America/St_Johns", "Pacific/Chatham", "XYZ-3:30ZYX,M3.2.0,M11.1.0",
        "",    "no zone"};
    for (const char* const zone : zones) {
        const Zone use(zone);
        for (int round = 0; round < 200; ++round) {
            const time_t moment = moments(random);
            kelTime time(moment * kSecond);
            tm expected{};
            for (const bool local : {false, true}) {
                if (local) {
                    time.MakeLocalTime();
                    localtime(&moment);  // reads the zone
                    localtime_r(&moment, &expected);
                    EXPECT_EQ(time.GetNumericEpochTime(), moment * kSecond);
                } else {
                    gmtime_r(&moment, &expected);
                }
                for (const char* const pattern : patterns) {
                    char text[256] = "";
                    std::strftime(text, sizeof text, pattern, &expected);
                    ASSERT_EQ(Format(time, pattern), text)
                        << pattern << " at " << moment << " in " << zone;
                }
                EXPECT_EQ(Format(kelTime(time)), Format(kelTime(moment * kSecond)))
                    << "a copy is universal";
            }
        }
    }
}

TEST(kelTime, GetFormatTime_GivesTheWholeTextOrFails) {
    const kelTime time(0);
    for (const int length : {0, 1, 254, 255, 256, 257, 5000}) {
        const std::string whole(static_cast<std::size_t>(length), 'x');
        EXPECT_EQ(Format(time, whole), length > 255 ? "failed" : whole);
    }
    EXPECT_EQ(Format(time, "%" + std::string("251d%d%d")).size(), 255U);
    EXPECT_EQ(Format(time, "%252d%d%d"), "failed");
    EXPECT_EQ(Format(time, "%99999999999d"), "failed");
    zuString both = "%Y";
    EXPECT_EQ(time.GetFormatTime(both, both), kelStatusOk);
    EXPECT_EQ(both, "1970");
}

TEST(kelTime, OddFields_AreFormattedWithoutFault) {
    for (const int odd : {INT_MIN, -99, -1, 7, 99, INT_MAX}) {
        const kelTime time(odd, odd % 60, odd % 60, odd % 24, 40, 11, 200, odd, odd, odd, odd);
        ASSERT_NE(time.GetNumericEpochTime(), -1);
        for (char letter = ' '; letter < 127; ++letter) {
            for (const char* const flag : {"%", "%E", "%O", "%_5", "%^"}) {
                EXPECT_NE(Format(time, std::string("x") + flag + letter), "failed")
                    << flag << letter;
            }
        }
    }
}

TEST(kelTime, PresentMoment_IsThatOfTheSystemClock) {
    using std::chrono::system_clock;
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   system_clock::now().time_since_epoch())
            .count();
    };
    kelTime current(-1);
    kelTime local(-1);
    const long long before = now();
    current.MakeCurrentTime();
    local.MakeLocalTime();
    for (const kelTime& time : {kelTime::GetNow(), kelTime::GetCurrentTime(), current, local}) {
        EXPECT_GE(time.GetMicroSeconds(), before);
        EXPECT_LE(time.GetMicroSeconds(), now());
    }
}

TEST(kelTime, Sleep_LastsItsTimeThroughSignals) {
    using Clock = std::chrono::steady_clock;
    struct sigaction handler {};
    struct sigaction former {};
    handler.sa_handler = [](int) {};
    sigaction(SIGALRM, &handler, &former);
    const itimerval often{{0, 1000}, {0, 1000}};
    const itimerval off{};
    setitimer(ITIMER_REAL, &often, nullptr);
    for (const auto& [wanted, most] :
         {std::pair{0LL, 50LL}, {-1LL, 50LL}, {LLONG_MIN, 50LL}, {1LL, 500LL}, {30000LL, 5000LL}}) {
        const auto start = Clock::now();
        EXPECT_EQ(kelTime::Sleep(wanted), kelStatusOk);
        const auto took = Clock::now() - start;
        EXPECT_GE(took, std::chrono::microseconds(std::max(wanted, 0LL)));
        EXPECT_LT(took, std::chrono::milliseconds(most)) << wanted;
    }
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &former, nullptr);
}

}  // namespace
