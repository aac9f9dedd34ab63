// Names, surroundings and facts about files: what the library tells of the system around it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <locale.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

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
    for (const auto& set : {zuString(), zuString("\xff/\xc3"), zuString(102400, 'x')}) {
        EXPECT_EQ(library.SetEnvironmentVariable("ZUKEL_TEST", set), kelStatusOk);
        EXPECT_EQ(library.GetEnvironmentVariable(value, "ZUKEL_TEST"), kelStatusOk);
        EXPECT_EQ(value, set);
        EXPECT_EQ(std::getenv("ZUKEL_TEST"), set);
    }
    EXPECT_EQ(library.SetEnvironmentVariable("A=B", "x"), kelStatusNoVariable);
    unsetenv("ZUKEL_TEST");
}

TEST(kelLibrary, UserAndTempDir_AreThoseOfTheSystem) {
    const TemporaryDirectory directory;
    const passwd* const user = getpwuid(getuid());
    Library library;
    library.SetEnvironmentVariable("TMPDIR", directory.Path());
    EXPECT_EQ(library.GetTempDir(), directory.Path());
    unsetenv("TMPDIR");
    zuString name;
    EXPECT_EQ(library.GetCurrentUserName(name), kelStatusOk);
    EXPECT_EQ(name, user->pw_name);
    EXPECT_EQ(Library::GetAbsoluteFileName("~/x"), user->pw_dir + zuString("/x"));
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
    const TemporaryDirectory directory;
    const std::string made = directory / "fr_BE@euro";
    const std::string make = "localedef --no-archive -c -i POSIX -f ISO-8859-15 " + made;
    // Its result says no more than that categories are left out.
    if (std::system((make + " >/dev/null 2>&1").c_str()) == -1 ||
        access((made + "/LC_CTYPE").c_str(), R_OK) != 0) {
        GTEST_SKIP() << "no locale can be made: is the package locales installed?";
    }
    Library library;
    library.SetEnvironmentVariable("LOCPATH", directory.Path());
    library.SetEnvironmentVariable("LC_ALL", "fr_BE@euro");
    EXPECT_STREQ(library.GetLocale(), "fr_BE.28605") << "the user's: the program has chosen none";
    setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(library.GetLocale(), nullptr) << "the program's own";
    setlocale(LC_ALL, "C");
    EXPECT_EQ(unsetenv("LC_ALL") + unsetenv("LOCPATH"), 0);
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
    const timespec times[] = {{1000000000, 123456789}, {-5, 999999999}};
    EXPECT_EQ(utimensat(AT_FDCWD, name.c_str(), times, 0) + chmod(name.c_str(), 04751), 0);
    EXPECT_EQ(info.GetSize(), 4);
    EXPECT_EQ(info.GetLastAccessTime(), 1000000000123456);
    EXPECT_EQ(info.GetLastModifiedTime(), -4000001);
    EXPECT_EQ(info.GetPermissions(), 0x751 | kelFileInfo::PermissionSetUser);
    EXPECT_EQ(truncate(name.c_str(), 3LL << 30), 0);
    kelFileInfo shared("other");
    shared = info;
    EXPECT_EQ(shared.GetSize(), 4);
    EXPECT_EQ(kelFileInfo(info).GetSize(), -1073741824) << "the low 32 bits";
    EXPECT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(mknod((directory / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(kelFileInfo(directory / "pipe").GetType(), kelFileInfo::Pipe);
    EXPECT_EQ(kelFileInfo(directory / "socket").GetType(), kelFileInfo::Socket);
    EXPECT_EQ(symlink("a.d", (directory / "link.x").c_str()), 0);
    EXPECT_EQ(kelFileInfo(name).GetType(), kelFileInfo::RegularFile);
    EXPECT_EQ(kelFileInfo(directory / "link.x").GetType(), kelFileInfo::Link);
    EXPECT_EQ(kelFileInfo("/dev/null").GetType(), kelFileInfo::OtherFile);
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
    std::filesystem::create_directory_symlink("a", "link");
    directory.Write("file", "");
    // Only the folded text is looked at, on a file system that tells case apart; a link itself is
    // no directory.
    const auto ways = Table<3>(R"(
        a/b   a/c  ./../c/  a        a/   ./  _  a\b  _          a/b    A/B  ./
        a     file _        a        gone _   file  a  _
        file  file _        missing  a    _   .  /    _          link/  a    a)");
    for (const auto& [from, to, way] : ways) {
        EXPECT_EQ(kelDirectory::GetRelativePath(from, to), way) << from << " to " << to;
    }
}

}  // namespace
