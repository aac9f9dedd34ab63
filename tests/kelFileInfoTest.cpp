#include "support/Testing.h"

using namespace zukel::test;
using kelFileInfoTest = InDirectory;
using Info = kelFileInfo;

TEST_F(kelFileInfoTest, Facts_AreASnapshotThatAssignmentsShareAndCopiesRetake) {
    const std::string name = directory / "a.b.c";
    const Info info(nullptr, name);
    EXPECT_EQ(info.GetPath(), directory / "");
    EXPECT_EQ(info.GetFileName(), "a.b.c");
    EXPECT_EQ(info.GetBaseName(), "a.b");
    EXPECT_EQ(info.GetFileExtension(), "c");
    EXPECT_THAT(
        std::vector<long long>(
            {info.GetSize(), info.GetLength(), info.GetLinkCount(), info.GetPermissions(),
             info.GetUserId(), info.GetGroupId(), info.GetOwnerNumber(), info.GetGroupNumber(),
             info.GetLastModifiedTime(), info.GetLastAccessTime(), info.GetCreationTime()}),
        Each(-1));
    directory.Write("a.b.c", "four");
    EXPECT_EQ(info.GetSize(), 4);
    const auto written = info.GetLastModifiedTime();
    EXPECT_NEAR(double(info.GetCreationTime()), double(written), 1e9);
    EXPECT_NEAR(double(info.GetLastAccessTime()), double(written), 1e9);
    fs::resize_file(name, 5'000'000'000ULL);  // a hole, where the volume has such
    fs::create_hard_link(name, "other");
    fs::last_write_time(name, fs::last_write_time(name) - std::chrono::hours(1000000));
    Info shared("other"), root("/"), later(info);
    shared = info;
    EXPECT_EQ(shared.GetSize(), 4);
    EXPECT_EQ(info.GetLastModifiedTime(), written);
    EXPECT_EQ(later.GetLength(), 5'000'000'000LL);
    EXPECT_EQ(later.GetSize(), 705'032'704) << "the low 32 bits";
    EXPECT_EQ(later.GetLinkCount(), 2);
    EXPECT_EQ(later.GetOwnerNumber() != -1, !kOnWindows);
    EXPECT_EQ(later.GetGroupNumber() != -1, !kOnWindows);
    EXPECT_LT(later.GetLastModifiedTime(), written - 3599999999000000) << "before 1970";
    EXPECT_EQ(Info(directory.Path() + "/.").GetFileExtension(), "") << "of a directory";
    root.SetLibrary(nullptr);
    EXPECT_EQ(root.GetFilePath(), "/");
    EXPECT_EQ(root.GetPath(), "/");
    EXPECT_THAT(Statuses({root.GetUserId(), root.GetGroupId()}), Each(0));
}

TEST_F(kelFileInfoTest, Types_AreOfLinksThemselvesUnlessTheyAreToBeFollowed) {
    const std::string file = directory.Write("file", "four");
    const std::pair<std::string, int> rows[] = {{"", Info::NoFile},
                                                {"file/below", Info::NoFile},
                                                {"file", Info::RegularFile},
                                                {".", Info::Directory},
                                                {kNullDevice, Info::OtherFile}};
    for (const auto& [name, type] : rows) {
        EXPECT_EQ(Info(name).GetType(), type) << name;
    }
    if (MakeLink(file, "link") && MakeLink("nowhere", "dangling")) {
        const Info target("link", Info::LinksFollowed), copy(target);
        EXPECT_EQ(Info("link").GetType(), Info::Link);
        EXPECT_EQ(target.GetLength(), 4);
        EXPECT_EQ(copy.GetType(), Info::RegularFile) << "a copy follows too";
        EXPECT_EQ(Info("dangling", Info::LinksFollowed).GetType(), Info::NoFile);
    }
}
