// Moves to another volume beside others who write to the source, remove it or put another file in
// its place. Most are made by the function below `Rename`, so that they need no second volume.

#include "linux/Users.h"
#include "platform/FileOperations.h"

using namespace zukel::test;
using Moves = InMemory;

static int Move(const std::string& from, const std::string& to) {
    const auto move = [&] { return zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str()); };
    return UnderFaults(move) == 0 ? kOk : kFailed;
}

/// Opens the source, writes to it and closes it, as a logger does; false if it could not.
static bool Put(const std::string& text, int flags) {
    const int file = open("from", O_WRONLY | flags, 0666);
    const bool written = file >= 0 && write(file, text.data(), text.size()) == ssize_t(text.size());
    return file >= 0 && close(file) == 0 && written;
}

/// The file under the one name or the other.
static std::string Moved() {
    return fs::exists("from") ? "from" : "to";
}

TEST_F(Moves, WhatIsWrittenBeforeAnyCall_IsThereAfterIt) {
    const auto append = [] { return Put("more\n", O_APPEND | O_NONBLOCK); };
    const auto restrict = [] { return chmod("from", 0400) == 0; };
    const auto overwrite = [] { return Put("LINE", O_NONBLOCK); };
    const auto replace = [&] {
        return fs::exists("from") &&
               std::rename(directory.Write("new", "LINE\n").c_str(), "from") == 0;
    };
    const std::vector<const char*> few = {"fstatat", "fsync", "renameat2"};
    const std::vector<const char*> all = {"fcntl",     "fstatat",  "fsync", "openat",
                                          "renameat2", "unlinkat", "write"};
    const struct Row {
        const char* name;
        std::vector<const char*> calls;
        std::function<bool()> meddle;
        const char* result;
        bool keepsTime = false;  ///< And the size: it leaves no trace in them.
        bool heldOpen = false;   ///< For writing: the system lends no lease then.
    } rows[] = {{"append", all, append, "line\nmore\n"},
                {"append to an open file", few, append, "line\nmore\n", false, true},
                {"restrict", all, restrict, "line\n"},
                {"replace", all, replace, "LINE\n", true},
                {"overwrite", all, overwrite, "LINE\n", true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::file_time_type time;
        unsigned mode = 0;
        bool tried = false, done = false;
        const auto meddle = [&] {
            tried = true;
            if (row.meddle()) {
                done = true;
                mode = ModeOf("from");
                fs::last_write_time("from", row.keepsTime ? time : fs::last_write_time("from"));
            }
        };
        for (const char* call : row.calls) {
            BeforeEachCall(call, meddle, [&] {
                fs::permissions(directory.Write("from", "line\n"), fs::perms(0644));
                const int holder = row.heldOpen ? open("from", O_WRONLY) : -1;
                time = fs::last_write_time("from");
                mode = 0644;
                tried = done = false;
                const int status = Move("from", "to");
                close(holder);
                const auto texts = TextsIn(".");
                EXPECT_THAT(texts, testing::Contains(done ? row.result : "line\n"));
                const bool isThereAgain = status == kOk && fs::exists("from");
                EXPECT_EQ(texts.size(), isThereAgain ? 2U : 1U) << "a name is left";
                EXPECT_EQ(ModeOf(Moved()), mode);
                EXPECT_THAT(status, testing::AnyOf(kOk, tried ? kFailed : kOk)) << "without cause";
                fs::remove("from"), fs::remove("to");
            });
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

TEST_F(Moves, AWriterThatHoldsTheSourceOpen_IsWaitedFor) {
    directory.Write("from", "line\n");
    int holder = open("from", O_WRONLY | O_APPEND);  // the system lends no lease then
    const Guard writes = AtCall("fcntl", [&] {
        if (holder >= 0 && !fs::exists("from")) {  // moved aside, for the last check
            EXPECT_EQ(write(holder, "more\n", 5), 5);
            EXPECT_EQ(close(std::exchange(holder, -1)), 0);
        }
        return 0;
    });
    EXPECT_EQ(Move("from", "to"), kFailed);
    EXPECT_EQ(ReadWhole("from"), "line\nmore\n");
    close(holder);
}

TEST_F(Moves, TheNewNameIsSyncedAndTheFormerTargetNeverLost) {
    bool strikes = true;
    for (int nth = 1; strikes; ++nth) {
        const TemporaryDirectory around("/dev/shm");
        around.Write("from", "new"), around.Write("to", "old");
        const Guard stuck = Failing("renameat", EIO), fails = Arm({FaultSource::System, nth, true});
        const int status = Move(around / "from", around / "to");
        strikes = !fault.struck.empty();
        EXPECT_THAT(TextsIn(around.Path()), testing::Contains(status == kOk ? "new" : "old"))
            << "call " << nth << ", " << fault.struck;
    }
    for (const int error : {EIO, EINVAL, ENOSYS, ENOTSUP, EROFS}) {
        directory.Write("from", "new");
        const Guard unsynced = Failing("fsync", error);
        EXPECT_EQ(Move("from", "to"), error == EIO ? kFailed : kOk) << std::strerror(error);
        EXPECT_EQ(fs::exists("from"), error == EIO) << std::strerror(error);
    }
    std::vector<std::string> synced;
    directory.Write("from", "new"), directory.Write("to", "old");
    const Guard sync = AtCall("fsync", [&] { return synced.push_back(ReadWhole("to")), 0; });
    EXPECT_EQ(Move("from", "to"), kOk);
    EXPECT_THAT(synced, ElementsAre("old", "new")) << "the file, then its name";
    directory.Write("from", "newest");
    int renamed = 0;
    const Guard gone = AtCall("renameat2", [&] { return ++renamed == 2 ? unlink("from") : 0; });
    EXPECT_EQ(Move("from", "to"), kOk) << "gone by itself";
    EXPECT_EQ(ReadWhole("to"), "newest");
}

TEST_F(Moves, ADirectoryMadeUnderTheTargetsNameMeanwhile_IsNotReplaced) {
    directory.Write("from", "new");
    for (const int error : {0, EINVAL}) {  // of the exchange
        SCOPED_TRACE(error);
        std::error_code stands;
        const Guard meanwhile =
            AtCall("renameat2", [&] { return fs::create_directories("to/kept", stands), error; });
        EXPECT_EQ(Move("from", "to"), kFailed);
        EXPECT_EQ(ReadWhole("from"), "new");
        EXPECT_TRUE(fs::exists("to/kept"));
        EXPECT_EQ(directory.Count(), 3) << "something is left";
        fs::remove_all("to");
    }
}

TEST_F(Moves, APipePutInThePlaceOfTheSource_StaysThere) {
    const TemporaryDirectory disk;  // which may give a removed file's number to the next
    const std::string from = disk / "from";
    bool isThere = false;
    const auto put = [&] { isThere = fs::remove(from) && mkfifo(from.c_str(), 0600) == 0; };
    BeforeEachCall("", put, [&] {
        isThere = false;
        fs::remove(from), disk.Write("from", "new");
        const int status = Move(from, disk / "to");
        EXPECT_EQ(status, isThere ? kFailed : kOk);
        EXPECT_EQ(fs::is_fifo(from), isThere);
    });
}

TEST_F(Moves, AcrossVolumes_CarryTheFactsAndLeaveASourceThatChanges) {
    const TemporaryDirectory disk;
    const std::string file = disk.Write("file", "0123456789abcdef"), pipe = disk / "pipe";
    const std::string link = disk / "link";
    const auto written = fs::last_write_time(file);
    if (std::rename(file.c_str(), "to") == 0) {
        GTEST_SKIP() << "there is no second volume";
    }
    {
        std::ofstream holder(file, std::ios::app);  // no lease is lent, which a change waits for
        const std::function<int()> changes[] = {
            [&] { return fs::resize_file(file, 9), 0; },
            [&] { return fs::rename(disk.Write("other"), file), 0; },
            [&] { return fs::last_write_time(file, written - std::chrono::nanoseconds(1)), 0; }};
        for (const auto& change : changes) {
            const Guard copied = AtCall("fsync", change);
            EXPECT_EQ(UnderFaults([&] { return kelFile::Rename(file, "to"); }), kFailed);
            EXPECT_EQ(directory.Count(), 0);
            EXPECT_TRUE(fs::exists(file));
        }
        const Guard taken = Failing("openat", EEXIST);
        EXPECT_EQ(UnderFaults([&] { return kelFile::Rename(file, "to"); }), kFailed);
    }
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto time = written - std::chrono::nanoseconds(1234567890123);
    fs::permissions(file, fs::perms(04751)), fs::last_write_time(file, time);
    fs::create_symlink("anywhere", link);
    const timespec moment[] = {{1, 0}, {2, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, link.c_str(), moment, AT_SYMLINK_NOFOLLOW), 0);
    const struct {
        const char* what;
        std::string from, to;
        int status;
    } rows[] = {{"onto a directory", file, directory.Path(), kFailed},
                {"of a pipe", pipe, "to", kFailed},
                {"to no name", file, directory / "", kFailed},
                {"there", file, "to", kOk},
                {"back", "to", file, kOk},
                {"to a name with a folder", file, directory / "to", kOk},
                {"of a link", link, "link", kOk}};
    for (const auto& row : rows) {
        EXPECT_EQ(kelFile::Rename(row.from, row.to), row.status) << row.what;
    }
    EXPECT_EQ(ModeOf("to"), 04751U);
    EXPECT_EQ(fs::last_write_time("to"), time);
    EXPECT_EQ(fs::read_symlink("link"), "anywhere");
    EXPECT_EQ(kelFileInfo("link").GetLastModifiedTime(), 2000000);
}
