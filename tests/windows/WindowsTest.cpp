// What has no like on Linux, or is asked there of its own system calls.

#include <windows.h>

#include "support/ChildRunner.h"

using namespace zukel::test;

namespace {

/// The drive D: is made by the tool that makes the Wine prefix. Whether it is another volume for
/// the system shows in its refusal to move a file there without a copy.
bool OnTwoVolumes(const TemporaryDirectory& one) {
    const std::string probe = one.Write("probe", "");
    const bool moves = MoveFileExA(probe.c_str(), "D:/zukel-probe", 0) != 0;
    const bool another = !moves && GetLastError() == ERROR_NOT_SAME_DEVICE;
    DeleteFileA(moves ? "D:/zukel-probe" : probe.c_str());
    return another;
}

TEST(Windows, RenameToAnotherVolume_IsWholeOrNotAtAll) {
    const TemporaryDirectory here;
    if (!OnTwoVolumes(here)) {
        GTEST_SKIP() << "D: is no other volume";
    }
    const TemporaryDirectory there("D:");
    for (const unsigned mode : {0400U, 0600U}) {
        const std::string from = here.Write("from", std::string(700000, 'x'));
        const std::string to = there.Write(kOddName, "old");
        fs::last_write_time(from, fs::last_write_time(from) - std::chrono::hours(99));
        EXPECT_EQ(kelFile::SetPermissions(from, mode == 0400 ? 0x400 : 0x600), kOk);
        const auto time = fs::last_write_time(from);
        EXPECT_EQ(kelFile::Rename(from, there / "no/such"), kFailed);
        {
            const HANDLE held = CreateFileA(to.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, 0, nullptr);
            EXPECT_EQ(kelFile::Rename(from, to), kFailed) << "the target is held";
            CloseHandle(held);
        }
        EXPECT_EQ(ReadWhole(to), "old");
        EXPECT_EQ(ModeOf(from), mode) << "as it was";
        EXPECT_EQ(there.Count(), 1) << "no part is left";
        EXPECT_EQ(kelFile::Rename(from, to), kOk);
        EXPECT_FALSE(kelFile::Exists(from));
        EXPECT_EQ(ReadWhole(to), std::string(700000, 'x'));
        EXPECT_EQ(ModeOf(to), mode);
        EXPECT_EQ(fs::last_write_time(fs::u8path(to)), time);
        EXPECT_EQ(kelFile::SetPermissions(to, 0x600), kOk);
        EXPECT_EQ(there.Count(), 1);
        const HANDLE writer = CreateFileA(to.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(kelFile::Rename(to, from), kFailed) << "somebody writes to it";
        CloseHandle(writer);
        EXPECT_FALSE(kelFile::Exists(from));
    }
}

TEST(Windows, Permissions_AreTheReadOnlyMark) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write(kOddName, "content"), to = directory / "to";
    fs::last_write_time(fs::u8path(from),
                        fs::last_write_time(fs::u8path(from)) - std::chrono::hours(99));
    for (const auto& [perms, mode] : {std::pair{0x200, 0600U}, {0x400, 0400U}}) {
        EXPECT_EQ(kelFile::SetPermissions(from, perms), kOk);
        EXPECT_EQ(ModeOf(from), mode);
        const kelFile file(from, kRead);
        EXPECT_TRUE(file.IsReadable() && file.IsWritable() == (mode == 0600));
        for (const int copied : {0x1000, 0x644, 0, 0xFFF}) {
            const bool native = copied == 0 || copied == 0xFFF,
                       carries = copied == 0x1000 || copied == 0;
            EXPECT_EQ(
                native ? kelFile::NativeCopy(from, to, copied) : kelFile::Copy(from, to, copied),
                kOk);
            EXPECT_EQ(ModeOf(to), carries ? mode : 0600) << copied;
            EXPECT_EQ(fs::last_write_time(to) == fs::last_write_time(fs::u8path(from)), native);
            EXPECT_EQ(kelFile::SetPermissions(to, 0x600) + kelFile::Delete(to), kOk);
        }
    }
}

TEST(Windows, UserHomeAndLocale_AreThoseOfTheSystem) {
    kelLibrary library;
    zuString name, home = std::getenv("USERPROFILE");
    std::replace(home.begin(), home.end(), '\\', '/');
    EXPECT_EQ(library.GetCurrentUserName(name), kOk);
    EXPECT_EQ(name, std::getenv("USERNAME"));
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), home + "/x");
    EXPECT_TRUE(fs::is_directory(library.GetTempDir()));
    const zuString locale = library.GetLocale();
    EXPECT_TRUE(locale.find('_') == 2 && locale.find('.') == 5) << locale;
}

TEST(Windows, NamesBeyondTheSystemsPlainForm_AreTaken) {
    const TemporaryDirectory directory;
    std::string deep = directory.Path();
    while (deep.size() < 300) {
        deep += "/" + std::string(40, 'd');
    }
    ASSERT_EQ(kelDirectory::Create(deep, 0x755, true), kOk);
    const std::string from = deep + "/from", to = deep + "/to";
    EXPECT_EQ(kelFile(from, kelFile::ModeWrite | kelFile::ModeCreate).WriteLine("x"), kOk);
    EXPECT_EQ(kelFile::Copy(from, to, 0xFFF), kOk);
    EXPECT_EQ(kelFile::Copy(from, from, 0xFFF), kFailed);
    EXPECT_EQ(kelFile::Rename(to, from), kOk);
    EXPECT_TRUE(kelFile::Exists(from) && !kelFile::Exists(to));
    EXPECT_EQ(kelFile::Copy(from, to + "\xFF", 0xFFF), kFailed) << "no UTF-8 names nothing";
    EXPECT_EQ(kelFile::Delete(from), kOk);
    while (deep.size() > directory.Path().size()) {
        EXPECT_EQ(kelDirectory::Delete(deep), kOk);
        deep.erase(deep.rfind('/'));
    }
}

TEST(Windows, IdentifiersBesideOne_AreNobodys) {
    kelProcess process;
    ASSERT_EQ(process.Start(ZUKEL_TEST_CHILD, {"sleep", "30"}, true), kOk);
    for (int beside = 1; beside < 4; ++beside) {  // the system takes them for the one before
        EXPECT_FALSE(kelProcess::IsRunning(process.GetPid() + beside));
        EXPECT_EQ(kelProcess::NativeKill(process.GetPid() + beside), kFailed);
    }
    EXPECT_TRUE(process.IsRunning());
    EXPECT_EQ(process.Kill(), kOk);
}

TEST(Windows, ExitCodeThatStandsForRunning_IsAnEnd) {
    kelProcess process;
    ASSERT_EQ(process.Start("cmd.exe", {"/c", "exit", "259"}, false), kOk);
    EXPECT_TRUE(Ends(process));
    EXPECT_FALSE(kelProcess::IsRunning(process.GetPid()));
}

}  // namespace
