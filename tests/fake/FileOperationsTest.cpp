#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/FakeFileOperations.h"
#include "support/FakePlatform.h"
#include "support/TemporaryDirectory.h"

using zukel::platform::CopyEnd;
using zukel::test::FakeFileOperations;
using zukel::test::TemporaryDirectory;
using zukel::test::UseFakePlatform;

namespace {

using Calls = std::vector<std::string>;

TEST(FileOperationsRoad, NativeCopy_ClearsAttributesForTheDefaultWordAloneAndNeverOfTheSource) {
    struct Case {
        int perms;
        CopyEnd end;
        bool clears;
        int status;
    };
    for (const Case& test : std::vector<Case>{{4095, CopyEnd::Done, true, kelStatusOk},
                                              {4095, CopyEnd::Failed, true, kelStatusFailed},
                                              {4095, CopyEnd::SameFile, false, kelStatusFailed},
                                              {4096, CopyEnd::Done, false, kelStatusOk},
                                              {0x1FFF, CopyEnd::Done, false, kelStatusOk},
                                              {0, CopyEnd::Failed, false, kelStatusFailed}}) {
        FakeFileOperations platform;
        platform.copyEnd = test.end;
        EXPECT_EQ(kelFile::NativeCopy("a \xFF", "b", test.perms), test.status) << test.perms;
        EXPECT_EQ(platform.calls,
                  test.clears ? (Calls{"CopyWithAttributes a \xFF b", "SetNormalAttributes b"})
                              : Calls{"CopyWithAttributes a \xFF b"});
    }
}

TEST(FileOperationsRoad, EachOperation_PassesItsArgumentsAndMapsTheAnswer) {
    const std::vector<std::pair<std::string, std::function<int()>>> operations = {
        {"RenameInPlace a b", [] { return kelFile::NativeRename("a", "b"); }},
        {"ChangeAccess a 180", [] { return kelFile::SetPermissions("a", 0x600); }},
        {"ChangeAccess a 100", [] { return kelFile::SetPermissions(nullptr, "a", 0x400); }},
        {"ChangeAccess a 80", [] { return kelFile::SetPermissions("a", 0x200); }},
        {"ChangeAccess a 0", [] { return kelFile::SetPermissions("a", 0x1FF); }},
        {"ChangeAccess a 180", [] { return kelFile::SetPermissions("a", -1); }},
        {"CopyWithPermissions a b 1000", [] { return kelFile::Copy("a", "b", 0x1000); }},
        {"CopyWithPermissions a b ffffffff", [] { return kelFile::Copy(nullptr, "a", "b", -1); }}};
    for (const bool done : {true, false}) {
        for (const auto& [call, operation] : operations) {
            FakeFileOperations platform;
            platform.done = done;
            platform.copyEnd = done ? CopyEnd::Done : CopyEnd::SameFile;
            EXPECT_EQ(operation(), done ? kelStatusOk : kelStatusFailed) << call;
            EXPECT_EQ(platform.calls, Calls{call});
        }
    }
}

TEST(FileOperationsRoad, EmptyNames_MakeNoCall) {
    FakeFileOperations platform;
    kelFile::Copy("", "b", 0);
    kelFile::NativeCopy("", "b", 4095);
    kelFile::NativeCopy("a", "", 4095);
    kelFile::NativeRename("a", "");
    kelFile::SetPermissions("", 0);
    EXPECT_EQ(platform.calls, Calls());
}

TEST(FileOperationsRoad, Rename_OnOneVolume_IsTheRuntimesAlone) {
    const TemporaryDirectory directory;
    FakeFileOperations platform;
    EXPECT_EQ(kelFile::Rename(directory.Write("a", ""), directory / "b"), kelStatusOk);
    EXPECT_EQ(kelFile::Rename(directory / "a", directory / "b"), kelStatusFailed);
    EXPECT_EQ(platform.calls, Calls());
}

TEST(FileOperationsRoad, AccessTests_AskForTheStoredNameInAnyState) {
    const TemporaryDirectory directory;
    FakeFileOperations platform;
    const UseFakePlatform files;
    const std::string name = directory.Write("file \xFF", "");
    kelFile file;
    EXPECT_TRUE(file.IsReadable());
    file.Open(name, kelFile::ModeRead);
    file.Close();
    EXPECT_TRUE(file.IsWritable());
    platform.done = false;
    EXPECT_FALSE(file.IsReadable());
    EXPECT_EQ(platform.calls, (Calls{"IsAccessible  4", "IsAccessible " + name + " 2",
                                     "IsAccessible " + name + " 4"}));
}

}  // namespace
