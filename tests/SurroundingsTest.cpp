#include <cstdarg>
#include <cstdint>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

std::string Format(std::string format, ...) {
    char text[400];
    va_list arguments;
    va_start(arguments, format);
    kelString::vsnprintf(text, sizeof text, format.data(), arguments);
    va_end(arguments);
    return text;
}

TEST(kelString, LengthsOfTheCLibrary_AreTaken) {
    constexpr long long kMost = INT64_MAX;
    constexpr unsigned long long kAll = UINT64_MAX;
    const std::size_t size = SIZE_MAX;
    const std::intmax_t least = INTMAX_MIN + 1;
    EXPECT_EQ(Format("%lld|%d", kMost, 5), "9223372036854775807|5");
    EXPECT_EQ(Format("%llu|%qd", kAll, kMost), "18446744073709551615|9223372036854775807");
    EXPECT_EQ(Format("%zu|%-4zd|", size, std::size_t{7}), "18446744073709551615|7   |");
    EXPECT_EQ(Format("%jd|%s", least, "x"), "-9223372036854775807|x");
    EXPECT_EQ(Format("%08llx|%*lld", kAll >> 4U, 4, 3LL), "fffffffffffffff|   3");
    EXPECT_EQ(Format("%%lld|%%%lld%%|%ld", 1LL, 2L), "%lld|%1%|2");
    const std::string longer(300, 'y');
    EXPECT_EQ(Format(longer + "%zu", std::size_t{1}), longer + "1");
    EXPECT_EQ(Format("%lld %", 1LL), Format("%qd %", 1LL)) << "an end in the middle";
}

TEST(kelTime, MonotonicTime_FollowsASleepAndNeverGoesBack) {
    const long long start = kelTime::GetMonotonicTime();
    kelTime::Sleep(20000);
    long long last = kelTime::GetMonotonicTime();
    EXPECT_GE(last - start, 20000);
    for (int round = 0; round < 10000; ++round) {
        const long long now = kelTime::GetMonotonicTime();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(kelTime, DatesMadeLate_AreThoseOfTheMoment) {
    for (const long long moment :
         {0LL, 1700000000000000LL, 253402300799999999LL, 253402300800000000LL}) {
        kelTime time(moment);
        const kelTime copy(time);
        zuString text, other;
        EXPECT_EQ(copy.GetFormatTime(text, "%Y-%m-%d %H:%M:%S"), kOk) << moment;
        time.MakeCurrentTime();
        time = copy;
        EXPECT_EQ(time.GetFormatTime(other, "%Y-%m-%d %H:%M:%S"), kOk) << moment;
        EXPECT_EQ(text, other);
        EXPECT_EQ(text.substr(0, 4), moment == 0                    ? "1970"
                                     : moment == 1700000000000000LL ? "2023"
                                     : moment % 1000000 != 0        ? "9999"
                                                                    : "1000");
    }
}

TEST(kelLibrary, Variables_AreUnsetAndListed) {
    kelLibrary library;
    zuString value = "before";
    zuStlVector<zuString> names;
    const auto lists = [&] {
        EXPECT_EQ(library.GetEnvironmentNames(names), kOk);
        return std::count(names.begin(), names.end(), "ZUKEL_LISTED");
    };
    EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_LISTED", "a=b"), kOk);
    EXPECT_EQ(lists(), 1);
    EXPECT_EQ(library.UnsetEnvironmentVariable("ZUKEL_LISTED"), kOk);
    EXPECT_EQ(lists(), 0);
    EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_LISTED"), kelStatusNoVariable);
    EXPECT_EQ(std::getenv("ZUKEL_LISTED"), nullptr);
    EXPECT_EQ(library.UnsetEnvironmentVariable("ZUKEL_LISTED"), kOk) << "again";
    for (const std::string& name : {std::string(), std::string("A=B"), std::string("A\0B", 3)}) {
        EXPECT_EQ(library.UnsetEnvironmentVariable(name), kelStatusNoVariable) << name;
    }
}

TEST(kelLibrary, Programs_AreFoundAsTheyAreStarted) {
    const TemporaryDirectory directory;
    zuString path = "before";
    EXPECT_EQ(kelLibrary::FindProgram("no-such-program-anywhere", path), kelStatusNotFound);
    EXPECT_EQ(kelLibrary::FindProgram(directory.Write("text"), path),
              kOnWindows ? kOk : kelStatusNotFound);
    EXPECT_EQ(kelLibrary::FindProgram("", path), kelStatusNotFound);
    EXPECT_EQ(kelLibrary::FindProgram(kOnWindows ? "cmd" : "sh", path), kOk);
    EXPECT_TRUE(fs::path(path).is_absolute()) << path;
    EXPECT_TRUE(fs::exists(path)) << path;
    EXPECT_EQ(kelLibrary::GetProgramPath(path), kOk);
    EXPECT_NE(path.find("zukel_tests"), std::string::npos) << path;
    EXPECT_EQ(kelLibrary::FindProgram(path, path), kOk);
}

}  // namespace
