// Moves to another volume beside others who write to the source, remove it or put another file in
// its place. They are made by the function below `Rename`, so that they need no second volume.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileOperations.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

bool Move(const std::string& from, const std::string& to) {
    return zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str());
}

/// Appends a line as a logger does that opens its file each time; false if it could not.
bool Append(const std::string& name, const std::string& line, int flags) {
    const int file = open(name.c_str(), O_WRONLY | O_APPEND | flags, 0666);
    const bool written = file >= 0 && write(file, line.data(), line.size()) == ssize_t(line.size());
    return file >= 0 && close(file) == 0 && written;
}

TEST(Transfers, WhatIsWrittenBeforeAnyCallOfAMove_IsThereAfterIt) {
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to";
    const auto append = [&] { return Append(from, "more\n", O_NONBLOCK); };
    const auto restrict = [&] { return chmod(from.c_str(), 0400) == 0; };
    // Both without a trace in size and time.
    const auto keepTime = [&](const std::string& name, const std::function<bool()>& change) {
        const auto time = fs::last_write_time(from);
        const bool changed = change();
        return changed ? fs::last_write_time(name, time), true : false;
    };
    const auto replace = [&] {
        return fs::exists(from) &&
               keepTime(place / "new", [&] { return !place.Write("new", "LINE\n").empty(); }) &&
               std::rename((place / "new").c_str(), from.c_str()) == 0;
    };
    const auto overwrite = [&] {
        return fs::exists(from) && keepTime(from, [&] {
                   const int file = open(from.c_str(), O_WRONLY | O_NONBLOCK);
                   const bool written = file >= 0 && write(file, "LINE", 4) == 4;
                   return file >= 0 && close(file) == 0 && written;
               });
    };
    const std::vector<const char*> few = {"fstatat", "fsync", "renameat2"};
    const std::vector<const char*> all = {"fcntl",     "fstatat",  "fsync", "openat",
                                          "renameat2", "unlinkat", "write"};
    const struct Case {
        const char* name;
        bool heldOpen;  ///< For writing: the system lends no lease then.
        std::vector<const char*> calls;
        std::function<bool()> meddle;
        std::string result;
    } cases[] = {{"append", false, all, append, "line\nmore\n"},
                 {"append to an open file", true, few, append, "line\nmore\n"},
                 {"restrict", false, all, restrict, "line\n"},
                 {"replace", false, all, replace, "LINE\n"},
                 {"overwrite", false, all, overwrite, "LINE\n"}};
    // Meddles before the nth call of that name; false if there are fewer.
    const auto step = [&](const Case& each, const char* call, int nth) {
        SCOPED_TRACE(std::string(each.name) + " before " + call + " " + std::to_string(nth));
        EXPECT_EQ(chmod(place.Write("from", "line\n").c_str(), 0644), 0);
        const int holder = each.heldOpen ? open(from.c_str(), O_WRONLY) : -1;
        bool done = false;
        unsigned mode = 0644;
        int calls = 0;
        const Guard meanwhile = AtCall(call, [&] {
            if (++calls == nth) {
                done = each.meddle();
                mode = done ? ModeOf(from) : mode;
            }
            return 0;
        });
        const bool moved = UnderFaults([&] { return Move(from, to); });
        close(holder);
        const std::string expected = done ? each.result : "line\n";
        EXPECT_EQ(ModeOf(fs::exists(from) ? from : to), mode);
        EXPECT_TRUE((fs::exists(from) && ReadWhole(from) == expected) ||
                    (fs::exists(to) && ReadWhole(to) == expected));
        EXPECT_TRUE(moved || calls >= nth) << "without cause";
        EXPECT_EQ(place.Count(), fs::exists(from) && moved ? 2 : 1) << "a name is left";
        fs::remove(from);
        fs::remove(to);
        return calls >= nth;
    };
    for (const Case& each : cases) {
        for (const char* call : each.calls) {
            for (int nth = 1; step(each, call, nth); ++nth) {
            }
        }
    }
    place.Write("from", "line\n");
    std::thread waiting;
    bool accepted = false;
    const Guard synced = AtCall("fsync", [&] {
        if (!waiting.joinable()) {
            waiting = std::thread([&] { accepted = Append(from, "more\n", 0); });
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return 0;
    });
    UnderFaults([&] { return Move(from, to); });
    waiting.join();
    EXPECT_EQ(ReadWhole(fs::exists(from) ? from : to), accepted ? "line\nmore\n" : "line\n");
}

TEST(Transfers, Threads_ALoggerLosesNoLineToMoves) {
    const TemporaryDirectory place("/dev/shm");
    std::atomic<bool> goes{true};
    std::size_t accepted = 0, found = 0;
    std::thread logger([&] {
        while (goes) {
            accepted += Append(place / "log", "line\n", O_CREAT) ? 1U : 0U;
        }
    });
    int moves = 0;
    for (int round = 0; round < 100000 && moves < 150; ++round) {
        moves += Move(place / "log", place / std::to_string(moves)) ? 1 : 0;
    }
    goes = false;
    logger.join();
    for (const auto& file : fs::directory_iterator(place.Path())) {
        found += fs::file_size(file) / std::strlen("line\n");
    }
    EXPECT_EQ(found, accepted) << "after " << moves << " moves";
    EXPECT_GT(moves, 0);
}

TEST(Transfers, AMoveSyncsTheNewNameAndNeverLosesTheFormerTarget) {
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to";
    bool strikes = true;
    for (int nth = 1; strikes; ++nth) {
        SCOPED_TRACE(nth);
        fs::remove_all(place.Path());
        fs::create_directory(place.Path());
        place.Write("from", "new");
        place.Write("to", "old");
        const Guard stuck = AtCall("renameat", [] { return EIO; });
        const Guard fails = Arm({FaultSource::System, nth, true});
        const bool moved = UnderFaults([&] { return Move(from, to); });
        strikes = !fault.struck.empty();
        std::string all;
        for (const auto& file : fs::directory_iterator(place.Path())) {
            all += ReadWhole(file.path());
        }
        EXPECT_NE(all.find(moved ? "new" : "old"), std::string::npos) << fault.struck;
    }
    std::vector<std::string> synced;
    place.Write("from", "newer");
    const Guard sync = AtCall("fsync", [&] { return synced.push_back(ReadWhole(to)), 0; });
    EXPECT_TRUE(UnderFaults([&] { return Move(from, to); }));
    EXPECT_EQ(synced, (std::vector<std::string>{"new", "newer"})) << "the file, then its name";
    place.Write("from", "newest");
    int renamed = 0;
    const Guard gone =
        AtCall("renameat2", [&] { return ++renamed == 2 ? unlink(from.c_str()) : 0; });
    EXPECT_TRUE(UnderFaults([&] { return Move(from, to); })) << "gone by itself";
    EXPECT_EQ(ReadWhole(to), "newest");
}

}  // namespace
