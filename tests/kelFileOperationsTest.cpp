#include <random>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

using Operation = std::function<int(const std::string&, const std::string&)>;

const Operation kCopies[] = {
    [](const auto& from, const auto& to) { return kelFile::Copy(from, to, 0x644); },
    [](const auto& from, const auto& to) { return kelFile::Copy(nullptr, from, to, 0x1000); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0); },
    [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0xFFF); }};
const Operation kRename = [](const auto& from, const auto& to) {
    return kelFile::Rename(from, to);
};

TEST(kelFileOperations, Copy_WritesEveryByteIntoTheTargetItself) {
    const TemporaryDirectory directory;
    const Guard here = WorkingDirectory(directory.Path());
    const std::string to = MakeLink("to", "soft") ? "soft" : "to";
    for (const std::size_t size : {0U, 1U, 262145U, 3000000U}) {
        std::string content(size, '\0');
        std::generate(content.begin(), content.end(), std::minstd_rand());
        directory.Write("from", content);
        for (const auto& copy : kCopies) {
            EXPECT_EQ(copy("from", to), kOk) << "leads to nothing yet";
            EXPECT_TRUE(ReadWhole("to") == content);
            fs::create_hard_link(directory.Write("to", content + "longer"), "hard");
            EXPECT_EQ(copy("from", to) + copy("from", kNullDevice), kOk);
            EXPECT_TRUE(ReadWhole("hard") == content && fs::is_symlink(to) == (to == "soft"));
            EXPECT_TRUE(kOnWindows || copy(kNullDevice, to) == kOk);
            EXPECT_TRUE(fs::remove("to") && fs::remove("hard"));
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
    for (const std::string& from : names) {
        for (const std::string& to : names) {
            for (const auto& copy : kCopies) {
                EXPECT_EQ(copy(from, to), kFailed) << from << " to " << to;
            }
        }
    }
    EXPECT_TRUE(ReadWhole("file") == "content" && ModeOf("file") == 0400);
}

TEST(kelFileOperations, RenameOnOneVolume_ReplacesInOneStep) {
    for (const Operation& operation : {kRename, Operation(kelFile::NativeRename)}) {
        const TemporaryDirectory directory;
        const std::string from = directory.Write("from", "new");
        fs::create_directory(directory / "directory");
        EXPECT_EQ(operation(from, directory / "directory"), kFailed);
        const std::string to = directory.Write(kOddName, "old");
        // Windows: NativeRename does not.
        const bool replaces = !kOnWindows || operation.target_type() == kRename.target_type();
        EXPECT_EQ(operation(from, to), replaces ? kOk : kFailed);
        EXPECT_EQ(ReadWhole(to), replaces ? "new" : "old");
        fs::remove(from);
        EXPECT_EQ(operation(directory / "directory", directory / "moved"), kOk);
        EXPECT_EQ(directory.Count(), 2);
    }
}

TEST(kelFileOperations, DeleteExistsAndEmptyNames) {
    const TemporaryDirectory directory;
    directory.Write(kOddName);
    EXPECT_EQ(kelFile::SetPermissions(directory.Write("read-only"), 0x400), kOk);
    const bool links = MakeLink("nothing", directory / "dangling");
    fs::create_directory(directory / "directory");
    const std::tuple<const char*, bool, bool> cases[] = {{kOddName, true, true},
                                                         {"directory", true, false},
                                                         {"read-only", true, !kOnWindows},
                                                         {"dangling", false, links}};
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
    EXPECT_EQ(kRename("", "x"), kelStatusEmptySource);
    EXPECT_TRUE(All(kelStatusEmptyPath, {kelFile::Delete(""), kelFile::SetPermissions("", 0x600),
                                         kelFile::Exists(nullptr, "")}));
}

}  // namespace
