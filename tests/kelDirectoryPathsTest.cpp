#include <gtest/gtest.h>

#include <filesystem>

#include "kelDirectory.h"
#include "kelLibrary.h"
#include "support/Table.h"
#include "support/TemporaryDirectory.h"

using zukel::test::Table;
using zukel::test::TemporaryDirectory;

namespace {

TEST(kelDirectory, GetAbsolutePath) {
    // From plain components to drives, network paths, the other separator and bytes of any kind.
    const auto cases = Table<2>(R"(
        _       _         /     /         .            /          ..       /
        a/b     /a/b      a/... /a/...    a/./b/../c/  /a/c       ../../x  /x
        ~/x     /~/x      ab:c  /ab:c     /a//b///     /a/b       $HOME/x  /$HOME/x
        C:      C:        C:/   C:        C:/a/../..   C:         C:a      C:/a
        C:/a/b  C:/a/b    :     /:        ::           ::         1:/x     1:/x
        //      /         ///a  //a       //srv/..     /          //srv/share/x/..   //srv/share
        C:\a\b  C:/\a\b   \a\b  /\a\b     \\srv\share  /\\srv\share)");
    for (const auto& [path, result] : cases) {
        EXPECT_EQ(kelDirectory::GetAbsolutePath(path), result) << path;
    }
    EXPECT_EQ(kelDirectory::GetAbsolutePath("\xff\xc3/\x80/."), "/\xff\xc3/\x80");
}

TEST(kelDirectory, IsRelativePathAndCleanPath) {
    for (const char* const path : {"a", "a/b", ".", "..", "~/a", "$X/a"}) {
        EXPECT_TRUE(kelDirectory::IsRelativePath(path)) << path;
    }
    for (const char* const path : {"", "/a", "\\a", "C:/a", "C:a", "a:b", "a/b:c"}) {
        EXPECT_FALSE(kelDirectory::IsRelativePath(path)) << path;
    }
    for (const char* const path : {"", "a//b/../c\\"}) {
        EXPECT_EQ(kelDirectory::CleanPath(path), path);
    }
}

TEST(kelDirectory, GetRelativePath_OfRealDirectories) {
    const TemporaryDirectory directory;
    std::filesystem::create_directories(directory / "a/b");
    std::filesystem::create_directories(directory / "a/c");
    std::filesystem::create_directories(directory / "Upper");
    std::filesystem::create_directory_symlink("a", directory / "link");
    directory.Write("file", "");
    kelLibrary library;
    library.SetEnvironmentVariable("ZUKEL_ROOT", directory.Path());
    // Only the folded text is looked at, on a file system that tells case apart; a link itself is
    // no directory.
    const auto cases = Table<3>(R"(
        a/b    a/c   ./../c/    a     a/    ./    _        a\b  ./a/b/    a/b    A/B  ./
        a      file  _          file  file  _     missing  a    _         Upper  a    _
        link   a     _          link/ a     ./../a/)");
    for (const auto& [from, to, way] : cases) {
        EXPECT_EQ(kelDirectory::GetRelativePath("$ZUKEL_ROOT/" + from, "$ZUKEL_ROOT\\" + to), way)
            << from << " to " << to;
    }
    library.SetEnvironmentVariable("ZUKEL_ROOT", "");
    EXPECT_EQ(kelDirectory::GetRelativePath("", ""), "");
    EXPECT_EQ(kelDirectory::GetRelativePath("", "/"), "");
    EXPECT_EQ(kelDirectory::GetRelativePath(".", "."), "./");
    EXPECT_EQ(kelDirectory::GetRelativePath(".", "/"), "");
    EXPECT_EQ(kelDirectory::GetRelativePath("/", std::string(1000000, '/')), "");
}

}  // namespace
