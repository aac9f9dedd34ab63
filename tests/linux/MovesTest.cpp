// Moves to another volume beside others who write to the source, remove it or put another file in
// its place. Most are made by the function below `Rename`, so that they need no second volume.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/Users.h"
#include "platform/FileOperations.h"
#include "support/Faults.h"

using namespace zukel::test;
using Moves = InMemory;

namespace {

bool Move(const std::string& from, const std::string& to) {
    return UnderFaults(
        [&] { return zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str()) == 0; });
}

/// Opens the source, writes to it and closes it, as a logger does; false if it could not.
bool Put(const std::string& text, int flags) {
    const int file = open("from", O_WRONLY | flags, 0666);
    const bool written = file >= 0 && write(file, text.data(), text.size()) == ssize_t(text.size());
    return file >= 0 && close(file) == 0 && written;
}

/// The file under the one name or the other.
std::string Moved() {
    return fs::exists("from") ? "from" : "to";
}

TEST_F(Moves, WhatIsWrittenBeforeAnyCall_IsThereAfterIt) {
    // The last two leave no trace in size and time.
    const auto keepTime = [](const char* name, const std::function<bool()>& change) {
        const auto time = fs::exists("from") ? fs::last_write_time("from") : fs::file_time_type();
        const bool changed = fs::exists("from") && change();
        return changed ? fs::last_write_time(name, time), true : false;
    };
    const auto append = [] { return Put("more\n", O_APPEND | O_NONBLOCK); };
    const auto restrict = [] { return chmod("from", 0400) == 0; };
    const auto overwrite = [&] { return keepTime("from", [] { return Put("LINE", O_NONBLOCK); }); };
    const auto replace = [&] {
        return keepTime("new", [&] { return !directory.Write("new", "LINE\n").empty(); }) &&
               std::rename("new", "from") == 0;
    };
    const std::vector<const char*> few = {"fstatat", "fsync", "renameat2"};
    const std::vector<const char*> all = {"fcntl",     "fstatat",  "fsync", "openat",
                                          "renameat2", "unlinkat", "write"};
    const struct Row {
        const char* name;
        bool heldOpen;  ///< For writing: the system lends no lease then.
        std::vector<const char*> calls;
        std::function<bool()> meddle;
        const char* result;
    } rows[] = {{"append", false, all, append, "line\nmore\n"},
                {"append to an open file", true, few, append, "line\nmore\n"},
                {"restrict", false, all, restrict, "line\n"},
                {"replace", false, all, replace, "LINE\n"},
                {"overwrite", false, all, overwrite, "LINE\n"}};
    // Meddles before the nth call of that name; false if there are fewer.
    const auto step = [&](const Row& row, const char* call, int nth) {
        SCOPED_TRACE(std::string(row.name) + " before " + call + " " + std::to_string(nth));
        fs::permissions(directory.Write("from", "line\n"), fs::perms(0644));
        const int holder = row.heldOpen ? open("from", O_WRONLY) : -1;
        bool done = false;
        unsigned mode = 0644;
        int calls = 0;
        const Guard meanwhile = AtCall(call, [&] {
            if (++calls == nth) {
                done = row.meddle();
                mode = done ? ModeOf("from") : mode;
            }
            return 0;
        });
        const bool moved = Move("from", "to");
        close(holder);
        std::vector<std::string> texts;
        for (const auto& file : fs::directory_iterator(".")) {
            texts.push_back(ReadWhole(file.path()));
        }
        EXPECT_THAT(texts, testing::Contains(done ? row.result : "line\n"));
        EXPECT_EQ(texts.size(), fs::exists("from") && moved ? 2U : 1U) << "a name is left";
        EXPECT_EQ(ModeOf(Moved()), mode);
        EXPECT_TRUE(moved || calls >= nth) << "failed without cause";
        fs::remove("from"), fs::remove("to");
        return calls >= nth;
    };
    for (const Row& row : rows) {
        for (const char* call : row.calls) {
            for (int nth = 1; step(row, call, nth); ++nth) {
            }
        }
    }
}

TEST_F(Moves, AWriterThatWaitsForTheLease_WritesToTheFileThatStays) {
    directory.Write("from", "line\n");
    std::thread waiting;
    bool accepted = false;
    const Guard synced = AtCall("fsync", [&] {
        if (!waiting.joinable()) {
            waiting = std::thread([&] { accepted = Put("more\n", O_APPEND); });
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return 0;
    });
    Move("from", "to");
    waiting.join();
    EXPECT_EQ(ReadWhole(Moved()), accepted ? "line\nmore\n" : "line\n");
}

TEST_F(Moves, TheNewNameIsSyncedAndTheFormerTargetNeverLost) {
    bool strikes = true;
    for (int nth = 1; strikes; ++nth) {
        const TemporaryDirectory around("/dev/shm");
        around.Write("from", "new"), around.Write("to", "old");
        const Guard stuck = AtCall("renameat", [] { return EIO; });
        const Guard fails = Arm({FaultSource::System, nth, true});
        const bool moved = Move(around / "from", around / "to");
        strikes = !fault.struck.empty();
        std::vector<std::string> texts;
        for (const auto& file : fs::directory_iterator(around.Path())) {
            texts.push_back(ReadWhole(file.path()));
        }
        EXPECT_THAT(texts, testing::Contains(moved ? "new" : "old")) << nth << fault.struck;
    }
    for (const int error : {EIO, EINVAL, ENOSYS, ENOTSUP, EROFS}) {
        directory.Write("from", "new");
        const Guard unsynced = AtCall("fsync", [error] { return error; });
        EXPECT_EQ(Move("from", "to"), error != EIO) << std::strerror(error);
        EXPECT_EQ(fs::exists("from"), error == EIO) << std::strerror(error);
    }
    std::vector<std::string> synced;
    directory.Write("from", "new"), directory.Write("to", "old");
    const Guard sync = AtCall("fsync", [&] { return synced.push_back(ReadWhole("to")), 0; });
    EXPECT_TRUE(Move("from", "to"));
    EXPECT_THAT(synced, ElementsAre("old", "new")) << "the file, then its name";
    directory.Write("from", "newest");
    int renamed = 0;
    const Guard gone = AtCall("renameat2", [&] { return ++renamed == 2 ? unlink("from") : 0; });
    EXPECT_TRUE(Move("from", "to")) << "gone by itself";
    EXPECT_EQ(ReadWhole("to"), "newest");
}

TEST_F(Moves, AcrossVolumes_CarryTheFactsAndLeaveASourceThatChanges) {
    const TemporaryDirectory disk;
    const std::string file = disk.Write("file", "0123456789abcdef");
    const auto time = fs::last_write_time(file) - std::chrono::nanoseconds(1234567890123);
    if (std::rename(file.c_str(), "to") == 0) {
        GTEST_SKIP() << "there is no second volume";
    }
    std::ofstream holder(file, std::ios::app);  // no lease is lent, for which a change would wait
    const std::function<void()> changes[] = {
        [&] { fs::resize_file(file, 9); }, [&] { fs::rename(disk.Write("other"), file); },
        [&] {
            fs::last_write_time(file, fs::last_write_time(file) + std::chrono::nanoseconds(1));
        }};
    for (const auto& change : changes) {
        const Guard copied = AtCall("fsync", [&] { return change(), 0; });
        EXPECT_EQ(UnderFaults([&] { return kelFile::Rename(file, "to"); }), kFailed);
        EXPECT_EQ(directory.Count(), 0);
        EXPECT_TRUE(fs::exists(file));
    }
    {
        const Guard taken = AtCall("openat", [] { return EEXIST; });
        EXPECT_EQ(UnderFaults([&] { return kelFile::Rename(file, "to"); }), kFailed);
    }
    EXPECT_EQ(kelFile::Rename(file, directory.Path()), kFailed) << "a directory";
    EXPECT_EQ(mkfifo((disk / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(kelFile::Rename(disk / "pipe", "to"), kFailed) << "a pipe";
    fs::permissions(file, fs::perms(04751));
    fs::last_write_time(file, time);
    EXPECT_EQ(kelFile::Rename(file, "to"), kOk);
    EXPECT_EQ(ModeOf("to"), 04751U);
    EXPECT_EQ(fs::last_write_time("to"), time);
    EXPECT_EQ(kelFile::Rename("to", file), kOk);
    EXPECT_EQ(kelFile::Rename(file, directory / "to"), kOk) << "with a folder";
    EXPECT_EQ(kelFile::Rename("to", disk / ""), kFailed) << "no name at all";
    const timespec moment[] = {{1, 0}, {2, 0}};
    fs::create_symlink("anywhere", disk / "link");
    EXPECT_EQ(utimensat(AT_FDCWD, (disk / "link").c_str(), moment, AT_SYMLINK_NOFOLLOW), 0);
    EXPECT_EQ(kelFile::Rename(disk / "link", "link"), kOk);
    EXPECT_EQ(fs::read_symlink("link"), "anywhere");
    EXPECT_EQ(kelFileInfo("link").GetLastModifiedTime(), 2000000);
}

}  // namespace
