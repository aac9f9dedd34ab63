// Names, surroundings and facts about files: what the library tells of the system around it.

#include <clocale>

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
    EXPECT_TRUE(library.GetEnvironmentVariable(value, "ZUKEL_X") == kNone && value == "untouched");
    const zuString longest(kOnWindows ? 30000 : 102400, 'x');
    for (const auto& set : {zuString(kOnWindows ? "x" : ""), zuString(kOddName), longest}) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", set), kOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kOk);
        EXPECT_TRUE(value == set && std::getenv("ZUKEL_TEST") == set);
    }
    EXPECT_TRUE(All(kNone, {library.SetEnvironmentVariable("", "x"),
                            library.SetEnvironmentVariable("A=B", "x")}));
    if (kOnWindows) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", longest + longest), kNone);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), longest) << "nothing has changed";
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", ""), kOk);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), nullptr) << "an empty value removes";
    }
}

TEST(kelLibrary, NamesAreExpanded) {
    Library library;
    library.SetEnvironmentVariable("ZUKEL_V", "c\\d");
    library.SetEnvironmentVariable("ZUKEL_TWICE", "$ZUKEL_V/$PLATFORM");
    library.SetEnvironmentVariable("PLATFORMS", "all");
    for (const auto& [name, expanded] : Table<2>(R"(
             a/$ZUKEL_V\b  a/c\d/b  $ZUKEL_TWICE    $ZUKEL_V/$PLATFORM  $PLATFORMS   all
             ~bob/x        ~bob/x   $ZUKEL_UNSET/b  $ZUKEL_UNSET/b  a$ZUKEL_V/b  a$ZUKEL_V/b)")) {
        EXPECT_EQ(Library::GetAbsoluteFileName(name), expanded) << name;
    }
    const bool native = ZUKEL_PLATFORM_TEXTS == std::string("native");
    const zuString platform = Library::GetPlatform(), prefix = Library::GetSharedLibPrefix();
    EXPECT_EQ(platform, native ? "linux64" : "win64");
    EXPECT_STREQ(Library::GetPlatformBase(), native ? "linux" : "win");
    EXPECT_EQ(Library::GetAbsoluteLibraryName("$PLATFORM\\lib.dll"),
              platform + "/" + prefix + "lib.dll" + Library::GetSharedLibSuffix());
}

TEST(kelFileInfo, Facts_AreASnapshotThatAssignmentsShareAndCopiesRetake) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a.b.c";
    const kelFileInfo info(nullptr, name);
    EXPECT_TRUE(info.GetPath() == directory / "" && info.GetFileName() == "a.b.c");
    EXPECT_EQ(info.GetBaseName() + info.GetFileExtension(), "a.bc");
    EXPECT_TRUE(
        All(-1, {info.GetSize(), info.GetPermissions(), info.GetUserId(), info.GetGroupId()}));
    EXPECT_EQ(info.GetLastModifiedTime() + info.GetLastAccessTime() + info.GetCreationTime(), -3);
    directory.Write("a.b.c", "four");
    EXPECT_TRUE(info.GetSize() == 4 && info.GetCreationTime() > 0);
    const auto written = info.GetLastModifiedTime();
    fs::resize_file(name, 3ULL << 30U);
    fs::last_write_time(name, fs::last_write_time(name) - std::chrono::hours(1000000));
    kelFileInfo shared("other"), root("/"), later(info);
    shared = info;
    EXPECT_TRUE(shared.GetSize() == 4 && info.GetLastModifiedTime() == written);
    EXPECT_EQ(later.GetSize(), -1073741824) << "the low 32 bits";
    EXPECT_LT(later.GetLastModifiedTime(), written - 3599999999000000) << "before 1970";
    EXPECT_EQ(kelFileInfo(directory.Path() + "/.").GetFileExtension(), "") << "of a directory";
    root.SetLibrary(nullptr);
    EXPECT_EQ(root.GetFilePath() + root.GetPath(), "//");
    EXPECT_TRUE(All(0, {root.GetUserId(), root.GetGroupId()}));
    EXPECT_TRUE(All(kelFileInfo::NoFile,
                    {kelFileInfo("").GetType(), kelFileInfo(name + "/below").GetType()}));
    EXPECT_EQ(later.GetType(), kelFileInfo::RegularFile);
    EXPECT_EQ(kelFileInfo(kNullDevice).GetType(), kelFileInfo::OtherFile);
}

TEST(kelDirectory, CurrentDirectoryAbsoluteAndRelativePaths) {
    for (const auto& [path, result] : Table<2>(R"(
             _    _     /       /        ab:c        /ab:c        .                /
             a/b  /a/b  C:\a\b C:/\a\b  \\srv\share /\\srv\share //srv/share/x/..  //srv/share)")) {
        EXPECT_EQ(kelDirectory::GetAbsolutePath(path), result) << path;
    }
    for (const std::string name : {"a", "", "/a", "\\a", "a:b"}) {
        EXPECT_EQ(kelDirectory::IsRelativePath(name), name == "a") << name;
        EXPECT_EQ(kelDirectory::CleanPath(name), name);
    }
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    const std::string odd = directory / kOddName;
    EXPECT_EQ(kelDirectory::Create(odd, 0x755, false), kOk);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(odd + "/./"), kOk);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory("missing"), kFailed);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(), fs::canonical(fs::u8path(odd)).u8string());
    // Windows keeps the current directory from being removed.
    EXPECT_TRUE(kOnWindows || (fs::remove(odd) && kelDirectory::GetCurrentDirectory().empty()));
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory.Path()), kOk);
    fs::create_directories("a/b");
    fs::create_directories("a/c");
    const bool links = MakeLink("a", "link");
    directory.Write("file");
    // Only the folded text is looked at, on a file system that tells case apart; a link itself is
    // no directory.
    for (const auto& [from, to, way] : Table<3>(R"(
             a/b   a/c  ./../c/  a        a/   ./  _     a\b  _  a/b    A/B  ./
             a     file _        a        gone _   file  a    _  .      /    _
             file  file _        missing  a    _   link/ a    a)")) {
        const bool missing = !links && from == "link/";
        EXPECT_EQ(kelDirectory::GetRelativePath(from, to), missing ? "" : way) << from << to;
    }
    const Guard locale([] { std::setlocale(LC_ALL, "C"); });
    for (const char* const name :
         {".1252", "sv_SE.ISO-8859-1", "C"}) {  // in which \xC3 is a letter
        std::setlocale(LC_ALL, name);
        fs::create_directories(fs::u8path("\xC3\x84/b"));
        EXPECT_EQ(kelDirectory::GetRelativePath("\xC3\x84/b", "\xC3\x84"), "./../") << name;
    }
}

/// A text up to its NUL is the name of something else: of a file or a folder that must not suffer.
TEST(NamesWithANul, AreThoseOfNothing) {
    const TemporaryDirectory directory;
    const Guard here = WorkingDirectory(directory.Path());
    directory.Write("file", "text");
    fs::create_directory("folder");
    kelLibrary library;
    EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_NUL", "value"), kOk);
    const zuString tail("\0tail", 5);
    const zuString file = "file" + tail, folder = "folder" + tail, other = "other" + tail;
    const zuString variable = "ZUKEL_NUL" + tail;
    zuString text = "untouched";
    struct {
        const char* call;
        int status, expected;
    } const rows[] = {
        {"Open", kelFile().Open(file, kRead), kelStatusNotFound},
        {"Open, new", kelFile().Open(other, kWrite), kelStatusNotFound},
        {"CreateTemporaryFile", kelFile().CreateTemporaryFile("XXXXXX" + tail), kFailed},
        {"Exists", kelFile::Exists(nullptr, file), kelStatusNotFound},
        {"Copy from", kelFile::Copy(file, "other", 0x644), kFailed},
        {"Copy to", kelFile::Copy("file", other, 0x644), kFailed},
        {"NativeCopy", kelFile::NativeCopy("file", other, 0), kFailed},
        {"Rename", kelFile::Rename(file, "other"), kFailed},
        {"NativeRename", kelFile::NativeRename("file", other), kFailed},
        {"SetPermissions", kelFile::SetPermissions(file, 0x400), kFailed},
        {"Delete", kelFile::Delete(file), kFailed},
        {"facts", kelFileInfo(file).GetType(), kelFileInfo::NoFile},
        {"kelDirectory::Open", kelDirectory().Open(folder), kFailed},
        {"Create", kelDirectory::Create(other, 0x755, false), kFailed},
        {"Create with parents", kelDirectory::Create(other, 0x755, true), kFailed},
        {"kelDirectory::Delete", kelDirectory::Delete(folder), kFailed},
        {"SetCurrentDirectory", kelDirectory::SetCurrentDirectory(folder), kFailed},
        {"GetEnvironmentVariable", library.GetEnvironmentVariable(text, variable),
         kelStatusNoVariable},
        {"name", library.SetEnvironmentVariable(variable, "x"), kelStatusNoVariable},
        {"value", library.SetEnvironmentVariable("ZUKEL_NUL", other), kelStatusNoVariable},
        {"LoadLibrary", kelDynamicObject().LoadLibrary(ZUKEL_TEST_MODULES "/first.dll" + tail),
         kFailed},
        {"Start", kelProcess().Start(ZUKEL_TEST_CHILD + tail, false), kFailed},
        {"an argument", kelProcess().Start(ZUKEL_TEST_CHILD, {file}, false), kFailed},
        {"a directory", kelProcess().Start(ZUKEL_TEST_CHILD, {}, folder, false), kFailed},
        {"a segment", kelSharedMemory().Create(10, other), kFailed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.status, row.expected) << row.call;
    }
    EXPECT_TRUE(kelDirectory::GetFileNames(folder).empty());
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("$" + variable), "$" + variable);
    EXPECT_EQ(library.GetEnvironmentVariable(text, "ZUKEL_NUL"), kOk);
    EXPECT_EQ(text, "value");
    EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_NUL", "B=C"), kOk);
    EXPECT_EQ(library.GetEnvironmentVariable(text, "ZUKEL_NUL=B"), kelStatusNoVariable);
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("$ZUKEL_NUL=B"), "$ZUKEL_NUL=B");
    EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL=NUL", "x"), kelStatusNoVariable);
    EXPECT_EQ(ReadWhole("file"), "text");
    EXPECT_EQ(directory.Count(), 2);
}

}  // namespace
