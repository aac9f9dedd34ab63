#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelFile, Whole_FilesAreReadAndReplaced) {
    const TemporaryDirectory directory;
    const std::string name = directory / kOddName;
    for (const std::string& contents :
         {std::string(), std::string("a\0b", 3), std::string(4096, 'p'), std::string(70000, 'l'),
          std::string("short")}) {
        SCOPED_TRACE(contents.size());
        zuString back = "former";
        EXPECT_EQ(kelFile::ReplaceWhole(name, contents), kOk);
        EXPECT_EQ(kelFile::ReadWhole(name, back), kOk);
        EXPECT_EQ(back, contents);
    }
    EXPECT_EQ(directory.Count(), 1) << "nothing beside it is left";
}

TEST(kelFile, Whole_WhatIsNoFileIsRefusedWithItsReason) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "old");
    const zuString cut("file\0x", 6);
    const std::string name = directory / "no/file";
    zuString text = "untouched";
    const struct {
        const char* name;
        int expected, status;
    } rows[] = {
        {"read nothing", kelStatusEmptyPath, kelFile::ReadWhole("", text)},
        {"read a missing file", kelStatusNotFound, kelFile::ReadWhole(directory / "no", text)},
        {"read a NUL", kelStatusNotFound, kelFile::ReadWhole(cut, text)},
        {"read a directory", kOnWindows ? kelStatusAccessDenied : kFailed,
         kelFile::ReadWhole(directory.Path(), text)},
        {"replace nothing", kelStatusEmptyPath, kelFile::ReplaceWhole("", text)},
        {"replace below nothing", kelStatusNotFound, kelFile::ReplaceWhole(name, text)},
        {"replace a NUL", kelStatusNotFound, kelFile::ReplaceWhole(cut, text)},
        {"replace a directory", kFailed, kelFile::ReplaceWhole(directory.Path(), text)},
        {"replace a device", kFailed, kelFile::ReplaceWhole("/dev/null", text)},
    };
    for (const auto& row : rows) {
        const bool skipped = kOnWindows && std::strstr(row.name, "device") != nullptr;
        EXPECT_TRUE(row.status == row.expected || skipped) << row.name << ": " << row.status;
    }
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(ReadWhole(file), "old");
    EXPECT_EQ(directory.Count(), 1);
}

TEST(kelFile, ReplaceWhole_KeepsPermissionsAndLinksAndLeavesOtherNames) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "old");
    fs::permissions(file, fs::perms(0604));
    const unsigned mode = ModeOf(file);
    fs::create_hard_link(file, directory / "other");
    fs::create_directory(directory / "folder");
    const bool links = MakeLink("../file", directory / "folder/link") &&
                       MakeLink("folder/link", directory / "link");
    EXPECT_EQ(kelFile::ReplaceWhole(links ? directory / "link" : file, "new"), kOk);
    EXPECT_EQ(ReadWhole(file), "new");
    EXPECT_EQ(ModeOf(file), mode);
    EXPECT_EQ(ReadWhole(directory / "other"), "old");
    EXPECT_EQ(fs::is_symlink(directory / "link"), links);
    if (!kOnWindows) {
        EXPECT_TRUE(MakeLink("made", directory / "dangling"));
        EXPECT_EQ(kelFile::ReplaceWhole(directory / "dangling", "made"), kOk);
        EXPECT_EQ(ReadWhole(directory / "made"), "made") << "what a link leads to is made";
        EXPECT_TRUE(MakeLink("loop", directory / "loop"));
        EXPECT_EQ(kelFile::ReplaceWhole(directory / "loop", "x"), kFailed);
    }
}

TEST(kelFile, RenameNew_NeverReplaces) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "source");
    const std::string to = directory.Write("to", "target");
    fs::create_directory(directory / "folder");
    EXPECT_EQ(kelFile::RenameNew(from, to), kelStatusExists);
    EXPECT_EQ(kelFile::RenameNew(from, from), kelStatusExists);
    EXPECT_EQ(kelFile::RenameNew(from, directory / "folder"), kelStatusExists);
    EXPECT_EQ(kelFile::RenameNew(directory / "folder", to), kelStatusExists);
    EXPECT_EQ(kelFile::RenameNew(directory / "no", directory / "new"), kFailed);
    EXPECT_EQ(kelFile::RenameNew("", to), kelStatusEmptySource);
    EXPECT_EQ(kelFile::RenameNew(from, ""), kelStatusEmptyTarget);
    if (MakeLink("nowhere", directory / "dangling")) {
        EXPECT_EQ(kelFile::RenameNew(from, directory / "dangling"), kelStatusExists);
    }
    EXPECT_EQ(ReadWhole(from), "source");
    EXPECT_EQ(ReadWhole(to), "target");
    EXPECT_EQ(kelFile::RenameNew(from, directory / "new"), kOk);
    EXPECT_EQ(ReadWhole(directory / "new"), "source");
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(kelFile::RenameNew(directory / "folder", directory / "moved"), kOk);
}

}  // namespace
