// Names, surroundings and facts about files: what the library tells of the system around it.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <vector>

// As <windows.h> has them: the first stands before the header, the second comes after it.
#define GetEnvironmentVariable GetEnvironmentVariableA
#include "kelLibrary.h"
#define SetEnvironmentVariable SetEnvironmentVariableW
#include "kelDirectory.h"
#include "kelFileInfo.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/Table.h"
#include "support/TemporaryDirectory.h"

using namespace zukel::test;
using Library = kelLibrary;

namespace {

TEST(kelLibrary, EnvironmentVariables_AreSeenByTheLibraryAndByGetenv) {
    Library library;
    zuString value = "untouched";
    EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusNoVariable);
    EXPECT_EQ(value, "untouched");
    const zuString longest(kOnWindows ? 30000 : 102400, 'x');
    for (const auto& set : {zuString(kOnWindows ? "x" : ""), zuString(kOddName), longest}) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", set), kelStatusOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusOk);
        EXPECT_EQ(value, set);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), set);
    }
    for (const char* const name : {"", "=", "A=B"}) {
        EXPECT_EQ(library.SetEnvironmentVariable(name, "x"), kelStatusNoVariable);
    }
    if (kOnWindows) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", longest + longest),
                  kelStatusNoVariable);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusOk);
        EXPECT_EQ(value, longest) << "nothing has changed";
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", ""), kelStatusOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusNoVariable);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), nullptr) << "an empty value removes";
    }
}

TEST(kelLibrary, UserAndTempDir_AreThoseOfTheSystem) {
    const TemporaryDirectory directory;
    Library library;
    library.SetEnvironmentVariable("TMPDIR", directory.Path());
    EXPECT_EQ(library.GetTempDir(), directory.Path());
    library.SetEnvironmentVariable("TMPDIR", "");
    EXPECT_NE(library.GetTempDir(), "");
    zuString name;
    EXPECT_EQ(library.GetCurrentUserName(name), kelStatusOk);
    EXPECT_EQ(name, UserName());
    EXPECT_EQ(Library::GetAbsoluteFileName("~/x"), HomeDirectory() + "/x");
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

TEST(kelLibrary, GetLocale_IsTheProgramsElseTheUsers) {
    if (kOnWindows) {
        const zuString text = Library().GetLocale();
        EXPECT_EQ(text.find('_'), 2U) << text;
        EXPECT_EQ(text.find('.'), 5U) << text;
        GTEST_SKIP() << "the C library's locales have no part in it here";
    }
    const TemporaryDirectory directory;
    const std::string made = directory / "fr_BE@euro";
    const std::string make = "localedef --no-archive -c -i POSIX -f ISO-8859-15 " + made;
    // Its result says no more than that categories are left out.
    if (std::system((make + " >/dev/null 2>&1").c_str()) == -1 ||
        !std::filesystem::exists(made + "/LC_CTYPE")) {
        GTEST_SKIP() << "no locale can be made: is the package locales installed?";
    }
    Library library;
    library.SetEnvironmentVariable("LOCPATH", directory.Path());
    library.SetEnvironmentVariable("LC_ALL", "fr_BE@euro");
    EXPECT_STREQ(library.GetLocale(), "fr_BE.28605") << "the user's: the program has chosen none";
    std::setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(library.GetLocale(), nullptr) << "the program's own";
    std::setlocale(LC_ALL, "C");
    library.SetEnvironmentVariable("LC_ALL", "");
    library.SetEnvironmentVariable("LOCPATH", "");
}

TEST(kelFileInfo, NameParts) {
    const auto cases = Table<5>(R"(
        dir/name.txt  dir/     name.txt     name      txt
        name.tar.gz   _        name.tar.gz  name.tar  gz
        C:\a.b\c      C:\a.b\  c            c         _
        dir/.profile  dir/     .profile     .profile  profile
        name.         _        name.        name      _
        a.b/          a.b/     _            _         _
        a.b:c         a.b:     c            c         b:c
        ..            _        ..           .         _)");
    for (const auto& [name, path, fileName, baseName, extension] : cases) {
        const kelFileInfo info(nullptr, name);
        EXPECT_EQ(info.GetPath() + "|" + info.GetFileName(), path + "|" + fileName) << name;
        EXPECT_EQ(info.GetBaseName() + "|" + info.GetFileExtension(), baseName + "|" + extension);
    }
}

TEST(kelFileInfo, Facts_AreASnapshotThatAssignmentsShareAndCopiesRetake) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a.d";
    const kelFileInfo info(name);
    for (const long long fact :
         {info.GetSize() + 0LL, info.GetCreationTime(), info.GetLastModifiedTime(),
          info.GetLastAccessTime(), info.GetPermissions() + 0LL}) {
        EXPECT_EQ(fact, -1) << "missing";
    }
    directory.Write("a.d", "four");
    SetTimes(name, 1000000000123456789, -4000000001);
    std::filesystem::permissions(name, std::filesystem::perms(04751));
    EXPECT_EQ(info.GetSize(), 4);
    EXPECT_EQ(info.GetLastAccessTime(), 1000000000123456);
    EXPECT_EQ(info.GetLastModifiedTime(), -4000001);
    // Of Windows they are what its access lists say, which Wine does not tell.
    EXPECT_TRUE(kOnWindows || info.GetPermissions() == (0x751 | kelFileInfo::PermissionSetUser));
    std::filesystem::resize_file(name, 3ULL << 30U);
    kelFileInfo shared("other");
    shared = info;
    EXPECT_EQ(shared.GetSize(), 4);
    EXPECT_EQ(kelFileInfo(info).GetSize(), -1073741824) << "the low 32 bits";
    if (MakePipeAndSocket(directory / "pipe", directory / "socket")) {
        EXPECT_EQ(kelFileInfo(directory / "pipe").GetType(), kelFileInfo::Pipe);
        EXPECT_EQ(kelFileInfo(directory / "socket").GetType(), kelFileInfo::Socket);
    }
    EXPECT_EQ(kelFileInfo(name).GetType(), kelFileInfo::RegularFile);
    if (MakeLink("a.d", directory / "link.x")) {
        EXPECT_EQ(kelFileInfo(directory / "link.x").GetType(), kelFileInfo::Link);
    }
    EXPECT_EQ(kelFileInfo(kNullDevice).GetType(),
              kOnWindows ? kelFileInfo::NoFile : kelFileInfo::OtherFile);
    EXPECT_EQ(kelFileInfo(name + "/below").GetType(), kelFileInfo::NoFile);
}

TEST(kelDirectory, AbsoluteAndRelativePaths) {
    const auto cases = Table<2>(R"(
        _       _         /     /         .            /          ..       /
        a/b     /a/b      a/... /a/...    a/./b/../c/  /a/c       ../../x  /x
        ab:c    /ab:c     C:    C:        C:/a/../..   C:         C:a      C:/a
        //      /         ///a  //a       //srv/..     /          //srv/share/x/..  //srv/share
        C:\a\b  C:/\a\b   :     /:        \\srv\share  /\\srv\share)");
    for (const auto& [path, result] : cases) {
        EXPECT_EQ(kelDirectory::GetAbsolutePath(path), result) << path;
    }
    const TemporaryDirectory directory;
    const Guard entered = WorkingDirectory(directory.Path());
    std::filesystem::create_directories("a/b");
    std::filesystem::create_directories("a/c");
    const bool links = MakeLink("a", "link");
    directory.Write("file", "");
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
