#include "support/Testing.h"

using namespace zukel::test;

namespace {

/// Wine makes no links, and Windows not for everybody.
bool CanLink(const TemporaryDirectory& directory) {
    const std::string name = directory / "probe";
    return kelFile::CreateSymbolicLink("x", name) == kOk && kelFile::Delete(name) == kOk;
}

TEST(kelFileLinks, WhatIsRefused_HasItsStatusAndChangesNothing) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "f"), below = directory / "no/link";
    const std::string missing = directory / "no";
    const zuString odd(missing.c_str(), missing.size() + 1);  // with a NUL
    zuString text = "untouched";
    const struct {
        const char* call;
        int status, expected;
    } rows[] = {
        {"to nothing", kelFile::CreateSymbolicLink("", file), kelStatusEmptyTarget},
        {"under no name", kelFile::CreateSymbolicLink(file, ""), kelStatusEmptyPath},
        {"to a NUL", kelFile::CreateSymbolicLink(odd, missing), kelStatusNotFound},
        {"under a NUL", kelFile::CreateSymbolicLink(file, odd), kelStatusNotFound},
        {"below nothing", kelFile::CreateSymbolicLink(file, below), kelStatusNotFound},
        {"read nothing", kelFile::ReadSymbolicLink("", text), kelStatusEmptyPath},
        {"read missing", kelFile::ReadSymbolicLink(missing, text), kelStatusNotFound},
        {"read a NUL", kelFile::ReadSymbolicLink(odd, text), kelStatusNotFound},
        {"read a file", kelFile::ReadSymbolicLink(file, text), kFailed},
        {"read a directory", kelFile::ReadSymbolicLink(directory.Path(), text), kFailed},
        {"path of nothing", kelFile::GetRealPath("", text), kelStatusEmptyPath},
        {"path of missing", kelFile::GetRealPath(missing, text), kelStatusNotFound},
        {"path of a NUL", kelFile::GetRealPath(odd, text), kelStatusNotFound},
    };
    for (const auto& row : rows) {
        const bool noLinks = kOnWindows && std::strcmp(row.call, "below nothing") == 0;
        EXPECT_TRUE(row.status == row.expected || noLinks) << row.call << ": " << row.status;
    }
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(directory.Count(), 1);
}

TEST(kelFileLinks, RealPaths_AreThoseOfTheFile) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write(kOddName, "f");
    fs::create_directory(directory / "folder");
    const Guard here = WorkingDirectory(directory / "folder");
    zuString real, again, place;
    ASSERT_EQ(kelFile::GetRealPath(directory.Path(), place), kOk);
    const std::string separator = kOnWindows ? "\\" : "/";
    for (const std::string& name : {file, directory / ("./folder/..//" + std::string(kOddName)),
                                    "../" + std::string(kOddName)}) {
        EXPECT_EQ(kelFile::GetRealPath(name, real), kOk) << name;
        EXPECT_EQ(real, place + separator + kOddName);
    }
    EXPECT_EQ(kelFile::GetRealPath(real, again), kOk);
    EXPECT_EQ(again, real);
    EXPECT_EQ(kelFile::GetRealPath(".", real), kOk);
    EXPECT_EQ(real, place + separator + "folder");
}

TEST(kelFileLinks, Links_AreMadeReadAndFollowed) {
    const TemporaryDirectory directory;
    if (!CanLink(directory)) {
        GTEST_SKIP() << "no symbolic links can be made here";
    }
    const std::string file = directory.Write("file", "f"), name = directory / "link";
    const std::string other = directory / "other";
    zuString text, real, place;
    // Beyond each buffer that a reader may begin with, up to what the system takes.
    for (const std::string& target :
         {std::string(kOddName), std::string("a b"), std::string(255, 'x'), std::string(256, 'x'),
          std::string(512, 'y'), std::string(kOnWindows ? 2000 : 4095, 'z')}) {
        SCOPED_TRACE(target.size());
        EXPECT_EQ(kelFile::CreateSymbolicLink(target, name), kOk);
        EXPECT_EQ(kelFile::ReadSymbolicLink(name, text), kOk);
        EXPECT_EQ(text, target);
        EXPECT_EQ(kelFile::CreateSymbolicLink("new", name), kelStatusExists) << "it leads nowhere";
        EXPECT_EQ(kelFile::Delete(name), kOk);
    }
    EXPECT_EQ(kelFile::CreateSymbolicLink(file, directory.Path()), kelStatusExists);
    EXPECT_EQ(kelFile::CreateSymbolicLink("file", other), kOk);
    EXPECT_EQ(kelFile::CreateSymbolicLink(other, name), kOk);
    EXPECT_EQ(kelFile::GetRealPath(directory.Path(), place), kOk);
    EXPECT_EQ(kelFile::GetRealPath(name, real), kOk);
    EXPECT_EQ(real, place + (kOnWindows ? "\\file" : "/file"));
    EXPECT_EQ(kelFile::Delete(file), kOk);
    EXPECT_EQ(kelFile::GetRealPath(name, real), kelStatusNotFound) << "the link leads to nothing";
    const std::string loop = directory / "loop";
    EXPECT_EQ(kelFile::CreateSymbolicLink("loop", loop), kOk);
    EXPECT_EQ(kelFile::GetRealPath(loop, real), kFailed);
    EXPECT_EQ(kelFile::ReadSymbolicLink(loop + "/x", real), kFailed);
    EXPECT_EQ(kelFile::ReadSymbolicLink(loop, real), kOk) << "the link itself is no loop";
}

TEST(kelDirectory, CreateTemporary_MakesOneForTheUserAlone) {
    const TemporaryDirectory directory;
    const std::string start = directory / kOddName, full = start + "XXXXXX";
    const std::string deep = directory / "no/XXXXXX";
    std::set<std::string> names;
    zuString path;
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(kelDirectory::CreateTemporary(full, path), kOk);
        EXPECT_EQ(path.size(), full.size());
        EXPECT_EQ(path.substr(0, start.size()), start);
        names.insert(path);
        const kelFileInfo info(path);
        EXPECT_EQ(info.GetType(), kelFileInfo::Directory);
        EXPECT_EQ(info.GetPermissions(), 0x700);
        EXPECT_EQ(kelFile(path + "/file", kWrite).Write('x'), kOk) << "its user can use it";
    }
    EXPECT_EQ(names.size(), 20U);
    path = "untouched";
    const std::pair<zuString, int> rows[] = {
        {"", kelStatusEmptyPath},   {start, kFailed},
        {start + "XXXXX", kFailed}, {full + "x", kFailed},
        {deep, kelStatusNotFound},  {full + '\0' + "XXXXXX", kelStatusNotFound}};
    for (const auto& [name, status] : rows) {
        EXPECT_EQ(kelDirectory::CreateTemporary(name, path), status) << name;
    }
    EXPECT_EQ(path, "untouched");
    EXPECT_EQ(directory.Count(), 40);
    const Guard here = WorkingDirectory(directory.Path());
    EXPECT_EQ(kelDirectory::CreateTemporary("XXXXXX", path), kOk) << "a relative one too";
    EXPECT_TRUE(fs::is_directory(path));
}

}  // namespace
