// Names, surroundings and facts about files: what the library tells of the system around it.

// As <windows.h> has them: the first stands before the header, the second comes after it.
#define GetEnvironmentVariable GetEnvironmentVariableA
#include "kelLibrary.h"
#define SetEnvironmentVariable SetEnvironmentVariableW
#include "support/Testing.h"

using namespace zukel::test;
using Library = kelLibrary;

namespace {

TEST(kelLibrary, EnvironmentVariables_AreSeenByTheLibraryAndByGetenv) {
    constexpr int kNone = kelStatusNoVariable;
    Library library;
    zuString value = "untouched";
    EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kNone);
    EXPECT_EQ(value, "untouched");
    const zuString longest(kOnWindows ? 30000 : 102400, 'x');
    for (const auto& set : {zuString(kOnWindows ? "x" : ""), zuString(kOddName), longest}) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", set), kOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kOk);
        EXPECT_TRUE(value == set && std::getenv("ZUKEL_TEST") == set);
    }
    for (const char* const name : {"", "=", "A=B"}) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, "x"), kNone);
    }
    if (kOnWindows) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", longest + longest), kNone);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), longest) << "nothing has changed";
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", ""), kOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kNone);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), nullptr) << "an empty value removes";
    }
}

TEST(kelLibrary, NamesAreExpanded) {
    Library library;
    library.SetEnvironmentVariable("ZUKEL_V", "c\\d");
    library.SetEnvironmentVariable("ZUKEL_TWICE", "$ZUKEL_V/$PLATFORM");
    library.SetEnvironmentVariable("PLATFORMS", "all");
    const auto cases = Table<2>(R"(
        _              _               a\b/c         a/b/c               /a//b/      /a//b/
        ~bob/x         ~bob/x          x/~           x/~                 $PLATFORMS  all
        a/$ZUKEL_V\b   a/c\d/b         $ZUKEL_TWICE  $ZUKEL_V/$PLATFORM  $           $
        $ZUKEL_UNSET/b $ZUKEL_UNSET/b  a$ZUKEL_V/b   a$ZUKEL_V/b         ../x/./y    ../x/./y)");
    for (const auto& [name, expanded] : cases) {
        EXPECT_EQ(Library::GetAbsoluteFileName(name), expanded) << name;
    }
    const bool native = ZUKEL_PLATFORM_TEXTS == std::string("native");
    EXPECT_STREQ(Library::GetPlatform(), native ? "linux64" : "win64");
    EXPECT_STREQ(Library::GetPlatformBase(), native ? "linux" : "win");
    const zuString platform = Library::GetPlatform(), prefix = Library::GetSharedLibPrefix();
    EXPECT_EQ(Library::GetAbsoluteLibraryName("$PLATFORM\\lib.dll"),
              platform + "/" + prefix + "lib.dll" + Library::GetSharedLibSuffix());
}

TEST(kelFileInfo, Facts_AreASnapshotThatAssignmentsShareAndCopiesRetake) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a.b.c";
    const kelFileInfo info(nullptr, name);
    EXPECT_EQ(info.GetPath(), directory / "");
    EXPECT_EQ(info.GetFileName() + info.GetBaseName() + info.GetFileExtension(), "a.b.ca.bc");
    EXPECT_TRUE(
        All(-1, {info.GetSize(), info.GetPermissions(), info.GetUserId(), info.GetGroupId()}));
    EXPECT_EQ(info.GetLastModifiedTime() + info.GetLastAccessTime(), -2) << "missing";
    EXPECT_EQ(info.GetCreationTime(), -1);
    directory.Write("a.b.c", "four");
    EXPECT_EQ(info.GetSize(), 4);
    EXPECT_GT(info.GetCreationTime(), 0);
    const auto written = info.GetLastModifiedTime();
    fs::resize_file(name, 3ULL << 30U);
    fs::last_write_time(name, fs::last_write_time(name) - std::chrono::hours(1000000));
    kelFileInfo shared("other"), root("/");
    shared = info;
    EXPECT_TRUE(shared.GetSize() == 4 && info.GetLastModifiedTime() == written);
    EXPECT_EQ(kelFileInfo(info).GetSize(), -1073741824) << "the low 32 bits";
    EXPECT_LT(kelFileInfo(info).GetLastModifiedTime(), written - 3599999999000000) << "before 1970";
    EXPECT_EQ(kelFileInfo(directory.Path() + "/.").GetFileExtension(), "") << "of a directory";
    root.SetLibrary(nullptr);
    EXPECT_EQ(root.GetFilePath() + root.GetPath(), "//");
    EXPECT_EQ(root.GetUserId() + root.GetGroupId(), 0);
    for (const auto& [each, type] :
         {std::pair{name, kelFileInfo::RegularFile},
          {"", kelFileInfo::NoFile},
          {name + "/below", kelFileInfo::NoFile},
          {kNullDevice, kOnWindows ? kelFileInfo::NoFile : kelFileInfo::OtherFile}}) {
        EXPECT_EQ(kelFileInfo(each).GetType(), type) << each;
    }
}

TEST(kelDirectory, AbsoluteAndRelativePaths) {
    const auto cases = Table<2>(R"(
        _       _         /     /         .            /          ..       /
        a/b     /a/b      ab:c  /ab:c     C:           C:         C:\a\b   C:/\a\b
        \\srv\share  /\\srv\share         //srv/share/x/..  //srv/share)");
    for (const auto& [path, result] : cases) {
        EXPECT_EQ(kelDirectory::GetAbsolutePath(path), result) << path;
    }
    for (const char* const name : {"a", "", "/a", "\\a", "a:b"}) {
        EXPECT_EQ(kelDirectory::IsRelativePath(name), name == std::string("a")) << name;
    }
    EXPECT_EQ(kelDirectory::CleanPath("a//b/../c\\"), "a//b/../c\\");
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    fs::create_directories("a/b");
    fs::create_directories("a/c");
    const bool links = MakeLink("a", "link");
    directory.Write("file");
    // Only the folded text is looked at, on a file system that tells case apart; a link itself is
    // no directory.
    const auto ways = Table<3>(R"(
        a/b   a/c  ./../c/  a        a/   ./  _  a\b  _          a/b    A/B  ./
        a     file _        a        gone _   file  a  _
        file  file _        missing  a    _   .  /    _          link/  a    a)");
    for (const auto& [from, to, way] : ways) {
        if (!links && from == "link/") {
            continue;
        }
        EXPECT_EQ(kelDirectory::GetRelativePath(from, to), way) << from << " to " << to;
    }
}

}  // namespace
