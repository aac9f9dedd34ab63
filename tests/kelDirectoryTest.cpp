#include <clocale>

#include "support/Testing.h"

using namespace zukel::test;
using Names = std::multiset<std::string>;
using kelDirectoryTest = InDirectory;

static Names Listed(kelDirectory& directory) {
    const auto names = directory.GetFileNames();
    EXPECT_EQ(directory.GetNumberOfFiles(), static_cast<int>(names.size()));
    return {names.begin(), names.end()};
}

TEST_F(kelDirectoryTest, States_FollowTheTable) {
    Names names = kOnWindows ? Names{kOddName, "a b", ".hidden", "..x"}
                             : Names{kOddName, "a b", "new\nline", " ", "..x", "...", "\\", "C:"};
    for (int number = 0; number < 400; ++number) {  // more than one system call returns
        names.insert(std::string(150, 'x') + std::to_string(number));
    }
    for (const std::string& name : names) {
        directory.Write(name);
    }
    kelDirectory fresh, ended(directory.Path()), shared(fresh);
    EXPECT_EQ((shared = ended).Close(), kOk) << "closed for both";
    for (kelDirectory* object : {&fresh, &ended, &shared}) {
        std::string name = "as it was";
        EXPECT_THAT(Statuses({object->Close(), object->ReadFirst(name), object->ReadNext(name)}),
                    Each(kelStatusNotOpen));
        EXPECT_EQ(Listed(*object), Names());
        EXPECT_EQ(object->Open("a b"), kFailed) << "a file is no directory";
        EXPECT_EQ(object->GetName(), object == &fresh ? "" : directory.Path());
        EXPECT_EQ(object->Open(directory.Path()), kOk);
        EXPECT_EQ(object->Open("missing"), kOk) << "the open one stays";
        EXPECT_EQ(Listed(*object), names);
        EXPECT_EQ(object->ReadNext(name), kelStatusReadFailed) << "at the end";
        EXPECT_EQ(name, "as it was");
        Names all;
        for (int s = object->ReadFirst(name); s == kOk; s = object->ReadNext(name)) {
            all.insert(name);
        }
        names.insert({".", ".."});
        EXPECT_EQ(all, names);
        names.erase("."), names.erase("..");
        EXPECT_EQ(object->Close(), kOk);
    }
    EXPECT_EQ(kelDirectory::GetFileNames(directory.Path() + "///").size(), names.size());
}

TEST_F(kelDirectoryTest, CreateAndDelete_Table) {
    for (const auto& [path, plain, recursive, deleted] : Table<4>(R"(
             new    ok ok ok    a/b/c    no ok ok    a//b/./~/ no ok ok    directory      no ok ok
             linked no ok no    dangling no no no    file      no no no    file/far/below no no no
             full   no ok no)")) {
        for (const bool parents : {false, true}) {
            SCOPED_TRACE(path + (parents ? " with parents" : ""));
            const TemporaryDirectory around;
            const Guard inside = WorkingDirectory(around.Path());
            around.Write("file", "content");
            fs::create_directories("full/below"), fs::create_directory("directory");
            const bool links = MakeLink("directory", "linked") && MakeLink("nothing", "dangling");
            if (!links && (path == "linked" || path == "dangling")) {
                continue;
            }
            const auto before = around.Count();
            const bool stood = fs::exists(path), succeeds = (parents ? recursive : plain) == "ok";
            const bool made = succeeds && !stood, stands = succeeds || stood;
            EXPECT_EQ(kelDirectory::Create(path, 0x710, parents), succeeds ? kOk : kFailed);
            EXPECT_EQ(fs::exists(path), stands);
            EXPECT_EQ(around.Count() > before, made);
            for (const std::string& each : {path, path.substr(0, path.find('/'))}) {
                EXPECT_EQ(made ? ModeOf(each) : 0, made ? kOnWindows ? 0600U : 0710U : 0) << each;
            }
            const bool goes = stands && deleted == "ok";
            EXPECT_EQ(kelDirectory::Delete(path), goes ? kOk : kFailed);
            EXPECT_EQ(fs::exists(path), stood && !goes);
            EXPECT_TRUE(fs::exists("full/below"));
            EXPECT_EQ(fs::is_symlink("linked"), links);
        }
    }
}

TEST_F(kelDirectoryTest, CreateTemporary_MakesOneForTheUserAlone) {
    const std::string odd = kOddName, absolute = directory / odd;
    zuString path;
    for (const std::string& start : {odd, absolute, odd, absolute + "XX"}) {
        SCOPED_TRACE(start);
        ASSERT_EQ(kelDirectory::CreateTemporary(start + "XXXXXX", path), kOk);
        EXPECT_EQ(path.size(), start.size() + 6);
        EXPECT_THAT(path, testing::StartsWith(start));
        EXPECT_EQ(kelFileInfo(path).GetType(), kelFileInfo::Directory);
        EXPECT_EQ(kelFileInfo(path).GetPermissions(), 0x700);
        EXPECT_EQ(kelFile(path + "/file", kWrite).Write('x'), kOk) << "its user can use it";
    }
    EXPECT_EQ(directory.Count(), 8) << "one for each, with its file";
}

TEST_F(kelDirectoryTest, DeleteTree_RemovesAllOfItAndNothingElse) {
    fs::create_directories("tree/a/b/c"), fs::create_directories("tree/empty");
    fs::create_directories("outside/kept");
    directory.Write("outside/file", "kept");
    for (const std::string name : {"tree/1", "tree/a/2", "tree/a/b/3", "tree/a/b/c/4"}) {
        fs::permissions(directory.Write(name, "x"), fs::perms::owner_read);
    }
    const bool links = MakeLink(directory / "outside", "tree/a/link") && MakeLink("no", "tree/no");
    for (const std::string path : {"tree/a/link", "tree/a/link/"}) {
        EXPECT_EQ(kelDirectory::DeleteTree(path), links ? kFailed : kelStatusNotFound) << path;
    }
    EXPECT_TRUE(fs::exists("tree/a/b/c/4"));
    EXPECT_EQ(kelDirectory::DeleteTree("tree//"), kOk);
    EXPECT_FALSE(fs::exists("tree"));
    EXPECT_EQ(ReadWhole("outside/file"), "kept");
    EXPECT_TRUE(fs::exists("outside/kept"));
}

TEST_F(kelDirectoryTest, DeleteTree_TakesManyFilesAndDepth) {
    fs::create_directory("tree");
    for (int number = 0; number < 2000; ++number) {
        directory.Write("tree/a file with a long name " + std::to_string(number));
    }
    const Guard back = WorkingDirectory(directory.Path());
    fs::current_path("tree");
    for (int depth = 0; depth < (kOnWindows ? 60 : 3000); ++depth) {  // longer than a path
        fs::create_directory("level"), fs::current_path("level");
    }
    fs::current_path(directory.Path());
    EXPECT_EQ(kelDirectory::DeleteTree("tree"), kOk);
    EXPECT_FALSE(fs::exists("tree"));
}

TEST_F(kelDirectoryTest, AbsoluteAndRelativePaths_AreOfTheCurrentDirectory) {
    for (const auto& [path, result] : Table<2>(R"(
             _    _     /       /        ab:c        /ab:c        .                /
             a/b  /a/b  C:\a\b C:/\a\b  \\srv\share /\\srv\share //srv/share/x/..  //srv/share)")) {
        EXPECT_EQ(kelDirectory::GetAbsolutePath(path), result) << path;
    }
    for (const std::string name : {"a", "", "/a", "\\a", "a:b"}) {
        EXPECT_EQ(kelDirectory::IsRelativePath(name), name == "a") << name;
        EXPECT_EQ(kelDirectory::CleanPath(name), name);
    }
    const std::string odd = directory / kOddName;
    EXPECT_EQ(kelDirectory::Create(odd, 0x755, false), kOk);
    EXPECT_EQ(kelDirectory::Create("no/../new", 0x755, false), kOnWindows ? kOk : kFailed);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(odd + "/./"), kOk);
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(), fs::canonical(fs::u8path(odd)).u8string());
    if (!kOnWindows) {  // which keeps the current directory from being removed
        fs::remove(odd);
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(), "");
    }
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory.Path()), kOk);
    fs::create_directories("a/b"), fs::create_directories("a/c");
    const bool links = MakeLink("a", "link");
    directory.Write("file");
    // Only the folded text is looked at, on a file system that tells case apart; a link itself is
    // no directory.
    for (const auto& [from, to, path] : Table<3>(R"(
             a/b   a/c  ./../c/  a        a/   ./  _     a\b  _  a/b    A/B  ./
             a     file _        a        gone _   file  a    _  .      /    _
             file  file _        missing  a    _   link/ a    a)")) {
        const bool missing = !links && from == "link/";
        EXPECT_EQ(kelDirectory::GetRelativePath(from, to), missing ? "" : path) << from << to;
    }
    const Guard locale([] { std::setlocale(LC_ALL, "C"); });
    for (const char* name : {".1252", "sv_SE.ISO-8859-1", "C"}) {  // in which \xC3 is a letter
        std::setlocale(LC_ALL, name);
        fs::create_directories(fs::u8path("\xC3\x84/b"));
        EXPECT_EQ(kelDirectory::GetRelativePath("\xC3\x84/b", "\xC3\x84"), "./../") << name;
    }
}
