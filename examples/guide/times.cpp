// Formats a moment in universal and in local time, makes a moment from a date, and measures a
// duration.

#include <kelStatus.h>
#include <kelTime.h>

#include <cstdio>

namespace {

zuString Text(const kelTime& time, const char* pattern) {
    zuString text;
    return time.GetFormatTime(text, pattern) == kelStatusOk ? text : "no valid time";
}

}  // namespace

int main() {
    kelTime moment(1700000000LL * 1000000);
    std::printf("universal  %s\n", Text(moment, "%Y-%m-%d %H:%M:%S").c_str());
    moment.MakeLocalTime();
    std::printf("local      %s\n", Text(moment, "%Y-%m-%d %H:%M:%S %z").c_str());

    // 29 February 2024, 12:30 in a zone one hour ahead of universal time.
    const kelTime leapDay(0, 0, 30, 12, 29, 1, 124, 4, 59, 0, 3600);
    std::printf("as given   %s, %lld seconds since 1970\n", Text(leapDay, "%d.%m.%Y %H:%M").c_str(),
                leapDay.GetSeconds());

    const kelTime before = kelTime::GetNow();
    kelTime::Sleep(20000);
    const long long took = kelTime::GetNow().GetMicroSeconds() - before.GetMicroSeconds();
    std::printf("slept for at least 20 ms: %s\n", took >= 20000 ? "yes" : "the clock was set back");
    return 0;
}
