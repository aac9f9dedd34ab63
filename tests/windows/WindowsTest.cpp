// What has no like on Linux, or is asked there of its own system calls.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelProcess.h"
#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

using namespace zukel::test;
namespace fs = std::filesystem;

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
        SetTimes(from, 1000000000, 1234567890123456700);
        EXPECT_EQ(kelFile::SetPermissions(from, mode == 0400 ? 0x400 : 0x600), kelStatusOk);
        const auto time = fs::last_write_time(from);
        EXPECT_EQ(kelFile::Rename(from, there / "no/such"), kelStatusFailed);
        {
            const HANDLE held = CreateFileA(to.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, 0, nullptr);
            EXPECT_EQ(kelFile::Rename(from, to), kelStatusFailed) << "the target is held";
            CloseHandle(held);
        }
        EXPECT_EQ(ReadWhole(to), "old");
        EXPECT_EQ(ModeOf(from), mode) << "as it was";
        EXPECT_EQ(there.Count(), 1U) << "no part is left";
        EXPECT_EQ(kelFile::Rename(from, to), kelStatusOk);
        EXPECT_FALSE(kelFile::Exists(from));
        EXPECT_EQ(ReadWhole(to), std::string(700000, 'x'));
        EXPECT_EQ(ModeOf(to), mode);
        EXPECT_EQ(fs::last_write_time(fs::u8path(to)), time);
        EXPECT_EQ(kelFile::SetPermissions(to, 0x600), kelStatusOk);
        EXPECT_EQ(there.Count(), 1U);
        const HANDLE writer = CreateFileA(to.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(kelFile::Rename(to, from), kelStatusFailed) << "somebody writes to it";
        CloseHandle(writer);
        EXPECT_FALSE(kelFile::Exists(from));
    }
}

TEST(Windows, NamesBeyondTheSystemsPlainForm_AreTaken) {
    const TemporaryDirectory directory;
    std::string deep = directory.Path();
    while (deep.size() < 300) {
        deep += "/" + std::string(40, 'd');
    }
    ASSERT_EQ(kelDirectory::Create(deep, 0x755, true), kelStatusOk);
    const std::string from = deep + "/from", to = deep + "/to";
    EXPECT_EQ(kelFile(from, kelFile::ModeWrite | kelFile::ModeCreate).WriteLine("x"), kelStatusOk);
    EXPECT_EQ(kelFile::Copy(from, to, 0xFFF), kelStatusOk);
    EXPECT_EQ(kelFile::Copy(from, from, 0xFFF), kelStatusFailed);
    EXPECT_EQ(kelFile::Rename(to, from), kelStatusOk);
    EXPECT_TRUE(kelFile::Exists(from) && !kelFile::Exists(to));
    EXPECT_EQ(kelFile::Delete(from), kelStatusOk);
    while (deep.size() > directory.Path().size()) {
        EXPECT_EQ(kelDirectory::Delete(deep), kelStatusOk);
        deep.erase(deep.rfind('/'));
    }
}

TEST(Windows, IdentifiersBesideOne_AreNobodys) {
    kelProcess process;
    ASSERT_EQ(process.Start(ZUKEL_TEST_CHILD, {"sleep", "30"}, true), kelStatusOk);
    for (int beside = 1; beside < 4; ++beside) {  // the system takes them for the one before
        EXPECT_FALSE(kelProcess::IsRunning(process.GetPid() + beside));
        EXPECT_EQ(kelProcess::NativeKill(process.GetPid() + beside), kelStatusFailed);
    }
    EXPECT_TRUE(process.IsRunning());
    EXPECT_EQ(process.Kill(), kelStatusOk);
}

TEST(Windows, ExitCodeThatStandsForRunning_IsAnEnd) {
    kelProcess process;
    ASSERT_EQ(process.Start("cmd.exe", {"/c", "exit", "259"}, false), kelStatusOk);
    EXPECT_TRUE(Ends(process));
    EXPECT_FALSE(kelProcess::IsRunning(process.GetPid()));
}

}  // namespace
