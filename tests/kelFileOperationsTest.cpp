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

TEST(kelFileOperations, RenamesDeletesExistsAndEmptyNames) {
    const TemporaryDirectory directory;
    const std::string odd = directory / kOddName, read = directory.Write("read-only");
    EXPECT_EQ(kelFile::SetPermissions(read, 0x400), kOk);
    const bool links = MakeLink("nothing", directory / "dangling");
    fs::create_directory(directory / "folder");
    for (const bool native : {true, false}) {
        const Operation rename = native ? Operation(kelFile::NativeRename) : kRename;
        const std::string from = directory.Write("from", "new"), to = directory.Write(kOddName);
        EXPECT_EQ(rename(from, directory / "folder"), kFailed);
        EXPECT_EQ(rename(from, to), native && kOnWindows ? kFailed : kOk);
        EXPECT_EQ(ReadWhole(to), native && kOnWindows ? "" : "new");
    }
    EXPECT_EQ(kRename(directory / "folder", directory / "moved"), kOk);
    const std::tuple<std::string, bool, bool> cases[] = {{odd, true, true},
                                                         {directory / "moved", true, false},
                                                         {read, true, !kOnWindows},
                                                         {directory / "dangling", false, links},
                                                         {directory / "missing", false, false}};
    for (const auto& [name, exists, goes] : cases) {
        EXPECT_EQ(kelFile::Exists(name), exists) << name;
        EXPECT_EQ(kelFile::Exists(nullptr, name), exists ? kOk : kelStatusNotFound);
        EXPECT_EQ(kelFile::Delete(name), goes ? kOk : kFailed) << name;
    }
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
