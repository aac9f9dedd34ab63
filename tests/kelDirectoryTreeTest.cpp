#include <atomic>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelDirectory, DeleteTree_RemovesAllOfItAndNothingElse) {
    const TemporaryDirectory directory;
    const std::string tree = directory / "tree", outside = directory / "outside";
    fs::create_directories(tree + "/a/b/c");
    fs::create_directories(tree + "/empty");
    fs::create_directories(outside + "/kept");
    directory.Write("outside/file", "kept");
    for (const std::string name : {"tree/1", "tree/a/2", "tree/a/b/3", "tree/a/b/c/4"}) {
        fs::permissions(directory.Write(name, "x"), fs::perms::owner_read);
    }
    if (MakeLink(outside, tree + "/a/link")) {
        MakeLink("nowhere", tree + "/dangling");
        EXPECT_EQ(kelDirectory::DeleteTree(tree + "/a/link"), kFailed) << "a link";
        EXPECT_EQ(kelDirectory::DeleteTree(tree + "/a/link/"), kFailed) << "not through it";
    }
    EXPECT_EQ(kelDirectory::DeleteTree(""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::DeleteTree(directory / "no"), kelStatusNotFound);
    EXPECT_EQ(kelDirectory::DeleteTree(directory / "no/no"), kelStatusNotFound);
    EXPECT_EQ(kelDirectory::DeleteTree(outside + "/file"), kFailed);
    EXPECT_EQ(kelDirectory::DeleteTree(tree + "/."), kFailed);
    EXPECT_EQ(kelDirectory::DeleteTree(tree + "/a/.."), kFailed);
    EXPECT_EQ(kelDirectory::DeleteTree(zuString("tree\0x", 6)), kFailed);
    EXPECT_TRUE(fs::exists(tree + "/a/b/c/4"));
    EXPECT_EQ(kelDirectory::DeleteTree(tree + "//"), kOk);
    EXPECT_FALSE(fs::exists(tree));
    EXPECT_EQ(ReadWhole(outside + "/file"), "kept");
    EXPECT_TRUE(fs::exists(outside + "/kept"));
}

TEST(kelDirectory, DeleteTree_TakesManyFilesAndDepth) {
    const TemporaryDirectory directory;
    const std::string tree = directory / "tree";
    fs::create_directory(tree);
    for (int number = 0; number < 2000; ++number) {
        directory.Write("tree/a file with a long name " + std::to_string(number));
    }
    {
        const Guard back = WorkingDirectory(tree);
        for (int depth = 0; depth < (kOnWindows ? 60 : 3000); ++depth) {  // longer than a path
            fs::create_directory("level");
            fs::current_path("level");
        }
    }
    EXPECT_EQ(kelDirectory::DeleteTree(tree), kOk);
    EXPECT_FALSE(fs::exists(tree));
}

TEST(kelDirectoryThreads, DeleteTree_IsNotLedOutByADirectorySwappedForALink) {
    const TemporaryDirectory directory;
    const std::string tree = directory / "tree", victim = directory / "victim";
    if (!MakeLink("nowhere", directory / "link")) {
        GTEST_SKIP() << "no symbolic links here";
    }
    for (int round = 0; round < 60; ++round) {
        fs::create_directories(victim);
        directory.Write("victim/precious", "kept");
        fs::create_directories(tree + "/swapped/more");
        for (int number = 0; number < 30; ++number) {
            directory.Write("tree/swapped/" + std::to_string(number));
        }
        std::atomic<bool> ended{false};
        std::thread swapper([&] {
            std::error_code failed;
            while (!ended) {
                fs::rename(tree + "/swapped", tree + "/moved", failed);
                fs::create_directory_symlink(victim, tree + "/swapped", failed);
                fs::remove(tree + "/swapped", failed);
                fs::rename(tree + "/moved", tree + "/swapped", failed);
            }
        });
        kelDirectory::DeleteTree(tree);
        ended = true;
        swapper.join();
        ASSERT_EQ(ReadWhole(victim + "/precious"), "kept") << "round " << round;
        kelDirectory::DeleteTree(tree);
    }
}

}  // namespace
