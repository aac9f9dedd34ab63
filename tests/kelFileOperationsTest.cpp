// Operations of kelFile on names.

#include "support/Testing.h"

using namespace zukel::test;
using kelFileOperationsTest = InDirectory;

namespace {

struct Operation {
    const char* name;
    std::function<int(const std::string&, const std::string&)> call;
};
const Operation kCopies[] = {
    {"Copy", [](auto& from, auto& to) { return kelFile::Copy(from, to, 0x644); }},
    {"Copy, as source", [](auto& it, auto& to) { return kelFile::Copy(nullptr, it, to, 0x1000); }},
    {"NativeCopy", [](auto& from, auto& to) { return kelFile::NativeCopy(from, to, 0); }},
    {"NativeCopy, usual", [](auto& it, auto& to) { return kelFile::NativeCopy(it, to, 0xFFF); }}};
const Operation kRenames[] = {
    {"Rename", [](auto& from, auto& to) { return kelFile::Rename(from, to); }},
    {"NativeRename", [](auto& from, auto& to) { return kelFile::NativeRename(from, to); }}};

TEST_F(kelFileOperationsTest, Copies_WriteEveryByteIntoTheTargetItself) {
    const std::string to = MakeLink("to", "soft") ? "soft" : "to";
    for (const std::size_t size : {0U, 1U, 262145U, 3000000U}) {
        const std::string content = Noise(size);
        directory.Write("from", content);
        for (const auto& [name, copy] : kCopies) {
            SCOPED_TRACE(name + (" of " + std::to_string(size)));
            EXPECT_EQ(copy("from", to), kOk) << "leads to nothing yet";
            EXPECT_TRUE(ReadWhole("to") == content);
            fs::create_hard_link(directory.Write("to", content + "longer"), "hard");
            EXPECT_EQ(copy("from", to), kOk);
            EXPECT_TRUE(ReadWhole("hard") == content) << "another file stands there";
            EXPECT_EQ(fs::is_symlink(to), to == "soft");
            EXPECT_EQ(copy("from", kNullDevice), kOk);
            if (!kOnWindows) {
                EXPECT_EQ(copy(kNullDevice, to), kOk);
                EXPECT_EQ(ReadWhole("hard"), "");
            }
            fs::remove("to"), fs::remove("hard");
        }
    }
}

TEST_F(kelFileOperationsTest, Copies_OntoTheFileItselfUnderAnyNameChangeNothing) {
    fs::permissions(directory.Write("file", "content"), fs::perms::owner_read);
    fs::create_hard_link("file", "hard");
    std::vector<std::string> names = {"file", ".//file", "hard", directory / "file"};
    if (MakeLink("file", "soft") && MakeLink("soft", "softer") && MakeLink(".", "again")) {
        names.insert(names.end(), {"soft", "softer", directory / "again/file"});
    }
    for (const std::string& from : names) {
        for (const std::string& to : names) {
            for (const auto& [name, copy] : kCopies) {
                EXPECT_EQ(copy(from, to), kFailed) << name << ": " << from << " to " << to;
            }
        }
    }
    EXPECT_EQ(ReadWhole("file"), "content");
    EXPECT_EQ(ModeOf("file"), 0400U);
}

TEST_F(kelFileOperationsTest, Renames_ReplaceFilesAlone) {
    for (const auto& [name, rename] : kRenames) {
        SCOPED_TRACE(name);
        fs::create_directory("folder");
        const bool replaces = !kOnWindows || name == std::string("Rename");
        const std::string from = directory.Write("from", "new"), to = directory.Write(kOddName);
        EXPECT_EQ(rename(from, directory / "folder"), kFailed);
        EXPECT_EQ(rename("folder", from), kFailed);
        EXPECT_EQ(rename("no", from), kFailed);
        EXPECT_EQ(ReadWhole(from), "new");
        EXPECT_EQ(rename(from, to), replaces ? kOk : kFailed);
        EXPECT_EQ(ReadWhole(to), replaces ? "new" : "");
        EXPECT_NE(fs::exists(from), replaces);
        EXPECT_EQ(rename("folder", "moved"), kOk);
        EXPECT_TRUE(fs::remove("moved"));
    }
}

TEST_F(kelFileOperationsTest, RenameNew_NeverReplaces) {
    directory.Write("from", "source"), directory.Write("to", "target");
    fs::create_directory("folder"), fs::create_hard_link("to", "hard");
    const bool links = MakeLink("nowhere", "dangling");
    for (const auto& [from, to, goes] : Table<3>(R"(
             from to exists    from from exists        from folder exists    folder to exists
             no new no         from dangling exists    to hard exists        to .//to exists
             from new yes      folder moved yes)")) {
        const int status = goes == "exists" ? kelStatusExists : goes == "no" ? kFailed : kOk;
        EXPECT_EQ(kelFile::RenameNew(from, links || to != "dangling" ? to : "to"), status)
            << from << " to " << to;
        EXPECT_EQ(ReadWhole("to"), "target");
    }
    EXPECT_EQ(ReadWhole("new"), "source");
    EXPECT_FALSE(fs::exists("from"));
    EXPECT_TRUE(fs::is_directory("moved"));
}

TEST_F(kelFileOperationsTest, ExistsAndDelete_Table) {
    const bool links = MakeLink("nothing", "dangling");
    EXPECT_EQ(kelFile::SetPermissions(directory.Write("read-only"), 0x400), kOk);
    directory.Write(kOddName);
    fs::create_directory("folder");
    const struct {
        const char* name;
        bool exists, goes;
    } rows[] = {{kOddName, true, true},
                {"folder", true, false},
                {"read-only", true, !kOnWindows},
                {"dangling", false, links},
                {"missing", false, false}};
    for (const auto& [name, exists, goes] : rows) {
        EXPECT_EQ(kelFile::Exists(name), exists) << name;
        EXPECT_EQ(kelFile::Exists(nullptr, name), exists ? kOk : kelStatusNotFound) << name;
        EXPECT_EQ(kelFile::Delete(name), goes ? kOk : kFailed) << name;
        EXPECT_EQ(fs::exists(fs::u8path(name)), exists && !goes) << name;
    }
    EXPECT_FALSE(fs::is_symlink("dangling"));
}

TEST_F(kelFileOperationsTest, WholeFiles_AreReadAndReplaced) {
    for (const std::string& contents :
         {std::string(), std::string("a\0b", 3), Noise(4096), Noise(70000), std::string("short")}) {
        SCOPED_TRACE(contents.size());
        zuString back = "former";
        EXPECT_EQ(kelFile::ReplaceWhole(kOddName, contents), kOk);
        EXPECT_EQ(kelFile::ReadWhole(kOddName, back), kOk);
        EXPECT_TRUE(back == contents) << back.size();
    }
    EXPECT_EQ(directory.Count(), 1) << "nothing beside it is left";
}

TEST_F(kelFileOperationsTest, ReplaceWhole_KeepsPermissionsAndLinksAndLeavesOtherNames) {
    fs::permissions(directory.Write("file", "old"), fs::perms(0604));
    const unsigned mode = ModeOf("file");
    fs::create_hard_link("file", "other");
    fs::create_directory("folder");
    const bool links = MakeLink("../file", "folder/link") && MakeLink("folder/link", "link");
    EXPECT_EQ(kelFile::ReplaceWhole(links ? "link" : "file", "new"), kOk);
    EXPECT_EQ(ReadWhole("file"), "new");
    EXPECT_EQ(ModeOf("file"), mode);
    EXPECT_EQ(ReadWhole("other"), "old");
    EXPECT_EQ(fs::is_symlink("link"), links);
}

}  // namespace
