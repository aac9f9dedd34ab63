// What has no like on Linux, or is asked there of its own system calls.

#include <windows.h>

#include "support/Testing.h"

using namespace zukel::test;
using Windows = InDirectory;

static HANDLE Hold(const std::string& name, DWORD access) {
    return CreateFileA(name.c_str(), access, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

/// The drive D: is made by the tool that makes the Wine prefix.
TEST_F(Windows, RenameToAnotherVolume_IsWholeOrNotAtAll) {
    const TemporaryDirectory there("D:");
    const std::string content(700000, 'x');
    for (const int perms : {0x400, 0x600}) {
        const std::string from = directory.Write("from", content),
                          to = there.Write(kOddName, "old");
        if (MoveFileExA(from.c_str(), (there / "moved").c_str(), 0) != 0) {
            GTEST_SKIP() << "D: is no other volume";
        }
        fs::last_write_time(from, fs::last_write_time(from) - std::chrono::hours(99));
        EXPECT_EQ(kelFile::SetPermissions(from, perms), kOk);
        const auto time = fs::last_write_time(from);
        const unsigned mode = ModeOf(from);
        EXPECT_EQ(kelFile::Rename(from, there / "no/such"), kFailed);
        const HANDLE held = Hold(to, GENERIC_READ);
        EXPECT_EQ(kelFile::Rename(from, to), kFailed) << "the target is held";
        CloseHandle(held);
        EXPECT_EQ(ReadWhole(to), "old");
        EXPECT_EQ(ModeOf(from), mode) << "as it was";
        EXPECT_EQ(there.Count(), 1) << "no part is left";
        EXPECT_EQ(kelFile::Rename(from, to), kOk);
        EXPECT_FALSE(kelFile::Exists(from));
        EXPECT_TRUE(ReadWhole(to) == content);
        EXPECT_EQ(ModeOf(to), mode);
        EXPECT_EQ(fs::last_write_time(fs::u8path(to)), time);
        EXPECT_EQ(kelFile::SetPermissions(to, 0x600), kOk);
        const HANDLE writer = Hold(to, GENERIC_WRITE);
        EXPECT_EQ(kelFile::Rename(to, from), kFailed) << "somebody writes to it";
        CloseHandle(writer);
        EXPECT_FALSE(kelFile::Exists(from));
        EXPECT_EQ(there.Count(), 1);
    }
}

TEST_F(Windows, Permissions_AreTheReadOnlyMark) {
    const std::string from = directory.Write(kOddName, "content"), to = directory / "to";
    const auto time = fs::last_write_time(fs::u8path(from)) - std::chrono::hours(99);
    fs::last_write_time(fs::u8path(from), time);
    for (const auto& [perms, mode] : {std::pair{0x200, 0600U}, {0x400, 0400U}}) {
        EXPECT_EQ(kelFile::SetPermissions(from, perms), kOk);
        const kelFile file(from, kRead);
        EXPECT_TRUE(file.IsReadable());
        EXPECT_EQ(file.IsWritable(), mode == 0600);
        for (const int copied : {0x1000, 0x644, 0, 0xFFF}) {
            const bool native = copied == 0 || copied == 0xFFF;
            const bool carries = copied == 0x1000 || copied == 0;
            EXPECT_EQ(
                (native ? kelFile::NativeCopy(from, to, copied) : kelFile::Copy(from, to, copied)),
                kOk);
            EXPECT_EQ(ModeOf(to), carries ? mode : 0600) << copied;
            EXPECT_EQ(fs::last_write_time(to) == time, native);
            EXPECT_THAT(Statuses({kelFile::SetPermissions(to, 0x600), kelFile::Delete(to)}),
                        Each(kOk));
        }
    }
}

TEST_F(Windows, UserHomeAndLocale_AreThoseOfTheSystem) {
    kelLibrary library;
    zuString name, home = std::getenv("USERPROFILE");
    std::replace(home.begin(), home.end(), '\\', '/');
    EXPECT_EQ(library.GetCurrentUserName(name), kOk);
    EXPECT_EQ(name, std::getenv("USERNAME"));
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), home + "/x");
    EXPECT_TRUE(fs::is_directory(library.GetTempDir()));
    EXPECT_THAT(library.GetLocale(), testing::MatchesRegex("\\w\\w_\\w\\w\\.\\d+"));
}

/// The build sets the zone, which Wine takes from `TZ`.
TEST_F(Windows, LocalTime_HasTheRulesOfItsYear) {
    DYNAMIC_TIME_ZONE_INFORMATION zone{};
    GetDynamicTimeZoneInformation(&zone);
    if (std::wstring(zone.TimeZoneKeyName) != L"Eastern Standard Time") {
        GTEST_SKIP() << "another zone";
    }
    const struct {
        long long seconds;
        const char* text;
    } rows[] = {
        {1142856000, "2006-03-20 07:00 -0500 -05"},  // summer began in April then
        {1174392000, "2007-03-20 08:00 -0400 -04"}, {1193832000, "2007-10-31 08:00 -0400 -04"},
        {1162296000, "2006-10-31 07:00 -0500 -05"}, {1136080800, "2005-12-31 21:00 -0500 -05"},
    };
    for (const auto& row : rows) {
        kelTime time(row.seconds * 1000000);
        zuString text;
        time.MakeLocalTime();
        EXPECT_EQ(time.GetFormatTime(text, "%F %R %z %Z"), kOk);
        EXPECT_EQ(text, row.text);
    }
    zuString text;
    EXPECT_EQ(kelTime(0).GetFormatTime(text, "%z %Z"), kOk);
    EXPECT_EQ(text, "+0000 UTC");
}
