#include "support/Testing.h"

using namespace zukel::test;
using kelFileLinksTest = InDirectory;

TEST_F(kelFileLinksTest, RealPaths_AreThoseOfTheFile) {
    directory.Write(kOddName), fs::create_directory("folder");
    const std::string odd = kOddName, separator(1, char(fs::path::preferred_separator));
    zuString real, place;
    ASSERT_EQ(kelFile::GetRealPath(directory.Path(), place), kOk);
    for (const std::string& name :
         {odd, directory / odd, "./folder/..//" + odd, place + separator + odd}) {
        EXPECT_EQ(kelFile::GetRealPath(name, real), kOk) << name;
        EXPECT_EQ(real, place + separator + odd) << name;
    }
    const Guard below = WorkingDirectory("folder");
    EXPECT_EQ(kelFile::GetRealPath(".", real), kOk);
    EXPECT_EQ(real, place + separator + "folder");
}

TEST_F(kelFileLinksTest, Links_AreMadeReadAndFollowed) {
    if (!MakeLink("x", "probe") || !fs::remove("probe")) {
        GTEST_SKIP() << "no symbolic links can be made here";
    }
    directory.Write("file", "f");
    zuString text, real, place;
    // Beyond each buffer that a reader may begin with, up to what the system takes.
    for (const std::string& target :
         {std::string(kOddName), std::string(255, 'x'), std::string(256, 'x'),
          std::string(512, 'y'), std::string(kOnWindows ? 2000 : 4095, 'z')}) {
        SCOPED_TRACE(target.size());
        EXPECT_EQ(kelFile::CreateSymbolicLink(target, "link"), kOk);
        EXPECT_EQ(kelFile::ReadSymbolicLink("link", text), kOk);
        EXPECT_EQ(text, target);
        EXPECT_EQ(kelFile::CreateSymbolicLink("a", "link"), kelStatusExists) << "it leads nowhere";
        EXPECT_EQ(kelFile::Delete("link"), kOk);
    }
    EXPECT_EQ(kelFile::CreateSymbolicLink("file", directory.Path()), kelStatusExists);
    EXPECT_EQ(kelFile::CreateSymbolicLink("file", "no/link"), kelStatusNotFound);
    EXPECT_EQ(kelFile::CreateSymbolicLink("file", "inner"), kOk);
    EXPECT_EQ(kelFile::CreateSymbolicLink("inner", "outer"), kOk);
    EXPECT_EQ(kelFile::GetRealPath("file", place), kOk);
    EXPECT_EQ(kelFile::GetRealPath("outer", real), kOk);
    EXPECT_EQ(real, place);
    EXPECT_EQ(kelFile::Delete("file"), kOk);
    EXPECT_EQ(kelFile::GetRealPath("outer", real), kelStatusNotFound) << "it leads to nothing";
    EXPECT_EQ(kelFile::CreateSymbolicLink("loop", "loop"), kOk);
    EXPECT_EQ(kelFile::GetRealPath("loop", real), kFailed);
}
