#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelFileInfo, LengthsLinksAndOwners_AreWholeAndFollowOnDemand) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file");
    fs::resize_file(file, 5'000'000'000ULL);  // a hole, where the volume has such
    fs::create_hard_link(file, directory / "other");
    const kelFileInfo info(file), missing(directory / "no");
    EXPECT_EQ(info.GetLength(), 5'000'000'000LL);
    EXPECT_EQ(info.GetSize(), 705'032'704) << "its low 32 bits";
    EXPECT_EQ(info.GetLinkCount(), 2);
    EXPECT_EQ(info.GetOwnerNumber() != -1, !kOnWindows);
    EXPECT_EQ(info.GetGroupNumber() != -1, !kOnWindows);
    EXPECT_EQ(missing.GetLength(), -1);
    EXPECT_EQ(missing.GetLinkCount(), -1);
    EXPECT_EQ(missing.GetOwnerNumber(), -1);
    if (MakeLink(file, directory / "link") && MakeLink("nowhere", directory / "dangling")) {
        const kelFileInfo link(directory / "link"),
            target(directory / "link", kelFileInfo::LinksFollowed), copy(target),
            dangling(directory / "dangling", kelFileInfo::LinksFollowed);
        EXPECT_EQ(link.GetType(), kelFileInfo::Link);
        EXPECT_EQ(target.GetLength(), 5'000'000'000LL);
        EXPECT_EQ(copy.GetLinkCount(), 2) << "a copy follows too";
        EXPECT_EQ(dangling.GetType(), kelFileInfo::NoFile);
    }
}

TEST(kelDirectory, GetFileNames_TellsFourAnswersApart) {
    const TemporaryDirectory directory;
    zuStlVector<zuString> names = {"untouched"};
    EXPECT_EQ(kelDirectory::GetFileNames("", names), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::GetFileNames(directory / "no", names), kelStatusNotFound);
    EXPECT_EQ(kelDirectory::GetFileNames(zuString("/\0x", 3), names), kelStatusNotFound);
    EXPECT_EQ(names.size(), 1U);
    EXPECT_EQ(kelDirectory::GetFileNames(directory.Path(), names), kOk);
    EXPECT_TRUE(names.empty());
    const std::string file = directory.Write("b");
    directory.Write("a");
    EXPECT_EQ(kelDirectory::GetFileNames(file, names), kFailed);
    EXPECT_EQ(kelDirectory::GetFileNames(directory.Path(), names), kOk);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (zuStlVector<zuString>{"a", "b"}));
}

}  // namespace
