#include "support/Testing.h"

using namespace zukel::test;
using Library = const kelLibrary*;

namespace {

using Operation = std::function<int(const std::string&, const std::string&)>;

const Operation kCopies[] = {
    [](const auto& from, const auto& to) { return kelFile::Copy(from, to, 0x644); },
    [](const auto& from, const auto& to) { return kelFile::Copy(nullptr, from, to, 0x1000); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0xFFF); }};

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
            EXPECT_EQ(copy(from, to), kOk) << "leads to nothing yet";
            EXPECT_TRUE(ReadWhole(directory / "to") == content);
            fs::create_hard_link(directory.Write("to", content + "longer"), directory / "hard");
            EXPECT_EQ(copy(from, to), kOk);
            EXPECT_TRUE(ReadWhole(directory / "hard") == content);
            EXPECT_EQ(fs::is_symlink(to), linked);
            EXPECT_EQ(copy(from, kNullDevice), kOk);
            EXPECT_TRUE(kOnWindows || copy(kNullDevice, to) == kOk);
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
    const auto entries = directory.Count();
    for (const std::string& from : names) {
        for (const std::string& to : names) {
            for (const auto& copy : kCopies) {
                EXPECT_EQ(copy(from, to), kFailed) << from << " to " << to;
            }
        }
    }
    EXPECT_EQ(ReadWhole("file"), "content");
    EXPECT_EQ(ModeOf("file"), 0400U);
    EXPECT_EQ(directory.Count(), entries);
}

TEST(kelFileOperations, RenameOnOneVolume_ReplacesInOneStep) {
    const Operation operations[] = {
        [](const auto& from, const auto& to) { return kelFile::Rename(from, to); },
        kelFile::NativeRename};
    for (const Operation& operation : operations) {
        const TemporaryDirectory directory;
        const std::string from = directory.Write("from", "new");
        fs::create_directory(directory / "directory");
        EXPECT_EQ(operation(from, directory / "directory"), kFailed);
        const std::string to = directory.Write(kOddName, "old");
        const bool replaces = !kOnWindows || &operation == operations;  // NativeRename: not there
        EXPECT_EQ(operation(from, to), replaces ? kOk : kFailed);
        EXPECT_EQ(ReadWhole(to), replaces ? "new" : "old");
        fs::remove(from);
        EXPECT_EQ(operation(directory / "directory", directory / "moved"), kOk);
        EXPECT_EQ(directory.Count(), 2U);
    }
}

TEST(kelFileOperations, DeleteExistsAndEmptyNames) {
    const TemporaryDirectory directory;
    directory.Write(kOddName);
    const bool links = MakeLink("nothing", directory / "dangling");
    fs::create_directory(directory / "directory");
    const std::tuple<const char*, bool, bool> cases[] = {
        {kOddName, true, true}, {"directory", true, false}, {"dangling", false, links}};
    for (const auto& [each, exists, goes] : cases) {
        const std::string name = directory / each;
        EXPECT_EQ(kelFile::Exists(name), exists) << name;
        EXPECT_EQ(kelFile::Exists(nullptr, name), exists ? kOk : kelStatusNotFound);
        EXPECT_EQ(kelFile::Delete(name), goes ? kOk : kFailed) << name;
    }
    EXPECT_EQ(kelFile::Delete(directory / "missing"), kFailed);
    EXPECT_EQ(kelFile::SetPermissions(directory / "missing", 0x600), kFailed);
    for (const Operation& each : {kCopies[0], kCopies[2], Operation(kelFile::NativeRename)}) {
        EXPECT_EQ(each("", "x"), kelStatusEmptySource);
        EXPECT_EQ(each("x", ""), kelStatusEmptyTarget);
    }
    EXPECT_EQ(kelFile::Rename("", "x"), kelStatusEmptySource);
    EXPECT_EQ(kelFile::Delete(""), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::SetPermissions("", 0x600), kelStatusEmptyPath);
}

TEST(Overloads, WithALibrary_TakeNullAndDoTheSame) {
    kelLibrary library;
    const std::string home = kelDirectory::GetCurrentDirectory();
    for (const Library any : {Library(nullptr), Library(&library)}) {
        const TemporaryDirectory directory;
        const std::string below = directory / "below", to = below + "/to", other = below + "/other";
        const std::string from = directory.Write("from", "content");
        for (const int status :
             {kelDirectory::Create(any, below, 0x755, false), kelFile::Copy(any, from, to, 4095),
              kelFile::SetPermissions(any, to, 0x400), kelFile::Rename(any, to, other),
              kelFile::Exists(any, other), kelDirectory::SetCurrentDirectory(any, below),
              kelDirectory::SetCurrentDirectory(any, home),
              kelFile::SetPermissions(any, other, 0x600), kelFile::Delete(any, other),
              kelDirectory::Delete(any, below), library.Terminate(), library.Initialize()}) {
            EXPECT_EQ(status, kOk);
        }
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(any), home);
        EXPECT_EQ(kelFile::Exists(any, to), kelStatusNotFound);
        EXPECT_EQ(kelFile::Exists(any, ""), kelStatusEmptyPath);
        EXPECT_EQ(directory.Count(), 1);
    }
}

}  // namespace
