#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

using Operation = std::function<int(const std::string&, const std::string&)>;
constexpr int kDefault = 0x0FFF;
constexpr int kOfSource = 0x1000;

const std::vector<Operation> kCopies = {
    [](const auto& from, const auto& to) { return kelFile::Copy(from, to, 0x644); },
    [](const auto& from, const auto& to) { return kelFile::Copy(nullptr, from, to, kOfSource); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, kDefault); }};

TEST(kelFileOperations, Copy_WritesEveryByteIntoTheTargetItself) {
    const TemporaryDirectory directory;
    const bool linked = MakeLink("to", directory / "soft");
    const std::string to = directory / (linked ? "soft" : "to");
    for (const std::size_t size : {0U, 1U, 262145U, 3000000U}) {
        std::string content(size, '\0');
        for (std::size_t at = 0; at < size; ++at) {
            content[at] = static_cast<char>(at * at >> 7U);
        }
        const std::string from = directory.Write("from", content);
        for (const auto& copy : kCopies) {
            EXPECT_EQ(copy(from, to), kelStatusOk) << "leads to nothing yet";
            EXPECT_TRUE(ReadWhole(directory / "to") == content);
            fs::create_hard_link(directory.Write("to", content + "longer"), directory / "hard");
            EXPECT_EQ(copy(from, to), kelStatusOk);
            EXPECT_TRUE(ReadWhole(directory / "hard") == content);
            EXPECT_EQ(fs::is_symlink(to), linked);
            EXPECT_EQ(copy(from, kNullDevice), kelStatusOk);
            EXPECT_TRUE(fs::remove(directory / "to") && fs::remove(directory / "hard"));
        }
    }
}

TEST(kelFileOperations, Copy_OntoItselfUnderAnyName_FailsAndChangesNothing) {
    const TemporaryDirectory directory;
    const Guard here = WorkingDirectory(directory.Path());
    fs::permissions(directory.Write("file", "content"), fs::perms::owner_read);
    fs::create_hard_link("file", "hard");
    std::vector<std::string> names = {"file", ".//file", "hard", directory / "file"};
    if (MakeLink("file", "soft") && MakeLink("soft", "softer") && MakeLink(".", "again")) {
        names.insert(names.end(), {"soft", "softer", directory / "again/file"});
    }
    const std::size_t entries = directory.Count();
    for (const std::string& from : names) {
        for (const std::string& to : names) {
            for (const auto& copy : kCopies) {
                EXPECT_EQ(copy(from, to), kelStatusFailed) << from << " to " << to;
            }
        }
    }
    EXPECT_EQ(ReadWhole("file"), "content");
    EXPECT_EQ(ModeOf("file"), 0400U);
    EXPECT_EQ(directory.Count(), entries);
    fs::permissions("file", fs::perms::owner_all);
}

TEST(kelFileOperations, Copy_WhenThereIsNoRoom_LeavesNoPartOfTheTarget) {
    if (kOnWindows) {
        GTEST_SKIP() << "there is no limit that stands for a full volume";
    }
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", std::string(400000, 'c'));
    for (const auto& copy : kCopies) {
        fs::create_hard_link(directory.Write("old", "old"), directory / "hard");
        const Guard limit = FileSizeLimit(100000);
        EXPECT_EQ(copy(directory / "missing", directory / "old"), kelStatusFailed);
        EXPECT_EQ(copy(directory.Path(), directory / "old"), kelStatusFailed);
        EXPECT_EQ(ReadWhole(directory / "old"), "old") << "nothing was to be copied";
        EXPECT_EQ(copy(from, directory / "new"), kelStatusFailed);
        EXPECT_EQ(copy(from, directory / "old"), kelStatusFailed);
        EXPECT_EQ(ReadWhole(directory / "hard"), "") << "no part under another name";
        fs::remove(directory / "hard");
        EXPECT_EQ(directory.Count(), 1U);
    }
}

TEST(kelFileOperations, Copy_CarriesPermissionsAndTime) {
    const unsigned umaskBefore = SetUmask(026);
    const Guard user = Unprivileged();
    struct Case {
        int perms;
        bool native;
        unsigned source, made, replaced;
    };
    const std::vector<Case> onLinux = {{0, true, 0444, 0444, 0444},
                                       {kDefault, true, 0444, 0644, 0644},
                                       {0x644, false, 0604, 0640, 0622},
                                       {kOfSource, false, 0604, 0604, 0604}};
    const std::vector<Case> onWindows = {{0, true, 0400, 0400, 0400},
                                         {kDefault, true, 0400, 0600, 0600},
                                         {0x644, false, 0400, 0600, 0600},
                                         {kOfSource, false, 0400, 0400, 0400}};
    for (const Case& c : kOnWindows ? onWindows : onLinux) {
        for (const bool exists : {false, true}) {
            const TemporaryDirectory directory;
            const std::string from = directory.Write("from", "content");
            const std::string to = directory / "to";
            if (exists) {
                const auto unwritable = c.perms == kOfSource ? 0222U : 0U;
                fs::permissions(directory.Write("to", "old"), fs::perms(0622 & ~unwritable));
            }
            fs::permissions(from, fs::perms(c.source));
            SetTimes(from, 0, 1234567890123456700);
            const auto time = fs::last_write_time(from);
            const int status = c.native ? kelFile::NativeCopy(from, to, c.perms)
                                        : kelFile::Copy(from, to, c.perms);
            EXPECT_EQ(status, kelStatusOk);
            EXPECT_EQ(ModeOf(to), exists ? c.replaced : c.made) << c.perms;
            EXPECT_EQ(fs::last_write_time(to) == time, c.native);
        }
    }
    SetUmask(umaskBefore);
}

TEST(kelFileOperations, RenameOnOneVolume_ReplacesInOneStep) {
    const auto rename = [](const auto& a, const auto& b) { return kelFile::Rename(a, b); };
    const Operation operations[] = {rename, kelFile::NativeRename};
    for (const Operation& operation : operations) {
        const TemporaryDirectory directory;
        const std::string from = directory.Write("from", "new");
        fs::create_directory(directory / "directory");
        EXPECT_EQ(operation(from, directory / "directory"), kelStatusFailed);
        const std::string to = directory.Write(kOddName, "old");
        const bool replaces = !kOnWindows || &operation == operations;  // NativeRename: not there
        EXPECT_EQ(operation(from, to), replaces ? kelStatusOk : kelStatusFailed);
        EXPECT_EQ(ReadWhole(to), replaces ? "new" : "old");
        fs::remove(from);
        EXPECT_EQ(operation(directory / "directory", directory / "moved"), kelStatusOk);
        EXPECT_EQ(directory.Count(), 2U);
    }
}

TEST(kelFileOperations, DeleteExistsAndEmptyNames) {
    const TemporaryDirectory directory;
    directory.Write(kOddName, "");
    const bool links = MakeLink("nothing", directory / "dangling");
    fs::create_directory(directory / "directory");
    struct Case {
        const char* name;
        bool exists, goes;
    };
    for (const Case& c : {Case{kOddName, true, true}, Case{"directory", true, false},
                          Case{"dangling", false, links}, Case{"missing", false, false}}) {
        const std::string name = directory / c.name;
        EXPECT_EQ(kelFile::Exists(name), c.exists) << name;
        EXPECT_EQ(kelFile::Exists(nullptr, name), c.exists ? kelStatusOk : kelStatusNotFound);
        EXPECT_EQ(kelFile::Delete(name), c.goes ? kelStatusOk : kelStatusFailed) << name;
    }
    for (const auto& copy : kCopies) {
        EXPECT_EQ(copy("", "x"), kelStatusEmptySource);
        EXPECT_EQ(copy("x", ""), kelStatusEmptyTarget);
    }
    EXPECT_EQ(kelFile::Rename("", "x"), kelStatusEmptySource);
    EXPECT_EQ(kelFile::NativeRename("x", ""), kelStatusEmptyTarget);
    EXPECT_EQ(kelFile::Delete(""), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::SetPermissions("", 0x600), kelStatusEmptyPath);
}

TEST(kelFileOperations, SetPermissions_TouchesTheOwnersTwoBitsOnlyAndTheAccessTestsSeeThem) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string name = directory / kOddName;
    const Guard user = Unprivileged();
    kelFile file(name, kelFile::ModeWrite | kelFile::ModeCreate);
    EXPECT_EQ(file.Close(), kelStatusOk);
    const unsigned always = kOnWindows ? 0400 : 0;  // every file can be read there
    for (const unsigned rest : {0U, 0177U, 04050U}) {
        for (const auto& [perms, bits] :
             {std::pair{0x600, 0600U}, {0x400, 0400U}, {0x200, 0200U}, {0x1FF, 0U}}) {
            const unsigned mode = bits | always;
            fs::permissions(fs::u8path(name), fs::perms(rest | 0200U));
            EXPECT_EQ(kelFile::SetPermissions(name, perms), kelStatusOk);
            EXPECT_EQ(ModeOf(name), kOnWindows ? mode : mode | rest) << std::hex << perms;
            EXPECT_EQ(file.IsReadable(), (mode & 0400U) != 0);
            EXPECT_EQ(file.IsWritable(), (mode & 0200U) != 0);
        }
    }
    EXPECT_EQ(kelFile::SetPermissions(directory / "missing", 0x600), kelStatusFailed);
}

TEST(Overloads, WithALibrary_TakeNullAndDoTheSame) {
    kelLibrary library;
    const std::string home = kelDirectory::GetCurrentDirectory();
    for (const kelLibrary* const any :
         {static_cast<const kelLibrary*>(nullptr), static_cast<const kelLibrary*>(&library)}) {
        const TemporaryDirectory directory;
        const std::string below = directory / "below";
        const std::string from = directory.Write("from", "content");
        const std::string to = below + "/to";
        for (const int status :
             {kelDirectory::Create(any, below, 0x755, false), kelFile::Copy(any, from, to, 4095),
              kelFile::SetPermissions(any, to, 0x400), kelFile::Rename(any, to, to + "2"),
              kelFile::Exists(any, to + "2"), kelDirectory::SetCurrentDirectory(any, below),
              kelDirectory::SetCurrentDirectory(any, home),
              kelFile::SetPermissions(any, to + "2", 0x600), kelFile::Delete(any, to + "2"),
              kelDirectory::Delete(any, below), library.Terminate(), library.Initialize()}) {
            EXPECT_EQ(status, kelStatusOk);
        }
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(any), home);
        EXPECT_EQ(kelFile::Exists(any, to), kelStatusNotFound);
        EXPECT_EQ(kelFile::Exists(any, ""), kelStatusEmptyPath);
        EXPECT_EQ(directory.Count(), 1U);
    }
    kelLibrary copy(library);
    copy = library;
    for (const char* const name : {"a", "", "/a", "\\a", "a:b"}) {
        EXPECT_EQ(kelDirectory::IsRelativePath(name), name == std::string("a")) << name;
    }
    EXPECT_EQ(kelDirectory::CleanPath("a//b/../c\\"), "a//b/../c\\");
}

}  // namespace
