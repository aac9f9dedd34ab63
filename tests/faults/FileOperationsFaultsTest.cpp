#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kelDirectory.h"
#include "kelFile.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

constexpr int kOk = kelStatusOk;

/// Runs `body` in a thread that alone sees an empty volume mounted, and hands it the volume's path.
void OnSecondVolume(const std::function<void(const std::string&)>& body) {
    bool mounted = false;
    const TemporaryDirectory place;
    std::thread([&] {
        mounted = unshare(CLONE_NEWNS) == 0 &&
                  mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  mount("tmpfs", place.Path().c_str(), "tmpfs", 0, "size=4m") == 0;
        if (mounted) {
            body(place.Path());
        }
    }).join();
    if (!mounted) {
        GTEST_SKIP() << "may not mount a second volume";
    }
}

/// Names of a directory's entries and what the files hold.
std::set<std::string> Snapshot(const std::string& directory) {
    std::set<std::string> all;
    for (const auto& entry : fs::directory_iterator(directory)) {
        all.insert(entry.path().filename().string() + ":" +
                   (entry.is_symlink() ? fs::read_symlink(entry.path()).string()
                                       : ReadWhole(entry.path().string())));
    }
    return all;
}

struct Transfer {
    FaultSource source;
    const char* lacks;  ///< The call that the system does not have, and how it says so.
    int error;
    std::function<int(const std::string&, const std::string&)> run;
};

void Walk(const std::vector<Transfer>& transfers, const std::string& place, bool moves) {
    const TemporaryDirectory directory;
    const std::string from = directory / "from";
    const std::string to = place + "/to";
    const auto prepare = [&](const std::string& kind, bool exists) {
        for (const auto& entry : fs::directory_iterator(place)) {
            fs::remove(entry);
        }
        fs::remove(from);
        if (kind == "link") {
            fs::create_symlink("somewhere", from);
        } else {
            fs::resize_file(directory.Write("from", std::string(9000, 'c')),
                            kind == "sparse" ? 100000 : 9000);
        }
        if (exists) {
            std::ofstream(to) << "old";
        }
    };
    for (const Transfer& transfer : transfers) {
        for (const bool exists : {false, true}) {
            for (const std::string kind : {"plain", moves ? "link" : "sparse"}) {
                WalkFaults(kind + " without " + transfer.lacks, transfer.source, [&] {
                    prepare(kind, exists);
                    const auto source = Snapshot(directory.Path());
                    const auto target = Snapshot(place);
                    const AtCall lacking(transfer.lacks, [&] { return transfer.error; });
                    const bool done = UnderFaults([&] { return transfer.run(from, to); }) == kOk;
                    const auto now = Snapshot(place);
                    if (done) {
                        EXPECT_TRUE(*now.rbegin() == "to:" + source.begin()->substr(5));
                    } else if (Faults::IsSingle()) {
                        EXPECT_TRUE(now == target || (!moves && now.empty()));
                    } else if (moves && exists) {  // the clearing up failed: under another name
                        EXPECT_TRUE(std::any_of(now.begin(), now.end(), [](const auto& entry) {
                            return entry.substr(entry.find(':')) == ":old";
                        }));
                    }
                    EXPECT_TRUE(done && moves ? directory.Count() == 0
                                              : Snapshot(directory.Path()) == source);
                    return done ? Outcome::Succeeded : Outcome::Failed;
                });
            }
        }
    }
}

TEST(FileOperationsFaults, Copy_AnyCallFails_LeavesNoPartOfTheTarget) {
    const auto copy = [](const auto& a, const auto& b) { return kelFile::Copy(a, b, 0x644); };
    const auto full = [](const auto& a, const auto& b) { return kelFile::Copy(a, b, 0x1000); };
    const auto native = [](const auto& a, const auto& b) { return kelFile::NativeCopy(a, b, 0); };
    const TemporaryDirectory place;
    Walk({{FaultSource::System, "nothing", 0, copy},
          {FaultSource::System, "copy_file_range", EXDEV, copy},
          {FaultSource::Memory, "copy_file_range", EXDEV, copy},
          {FaultSource::System, "nothing", 0, full},
          {FaultSource::System, "nothing", 0, native}},
         place.Path(), false);
}

TEST(FileOperationsFaults, RenameAcrossVolumes_AnyCallFails_IsWholeOrNotAtAll) {
    OnSecondVolume([](const std::string& volume) {
        const auto move = [](const auto& a, const auto& b) { return kelFile::Rename(a, b); };
        Walk({{FaultSource::System, "nothing", 0, move},
              {FaultSource::System, "renameat2", EINVAL, move},
              {FaultSource::System, "linkat", EPERM, move}},
             volume, true);
        const TemporaryDirectory directory;
        const std::string from = directory.Write("from", "content");
        const auto time = fs::last_write_time(from) - std::chrono::nanoseconds(1234567890123);
        fs::last_write_time(from, time);
        fs::permissions(from, fs::perms(04751));
        EXPECT_EQ(move(from, volume + "/carried"), kOk);
        EXPECT_EQ(fs::status(volume + "/carried").permissions(), fs::perms(04751));
        EXPECT_TRUE(fs::last_write_time(volume + "/carried") == time);
    });
}

TEST(FileOperationsFaults, ASourceThatChangesWhileItIsMoved_Stays) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "content");
    OnSecondVolume([&](const std::string& volume) {
        const AtCall copied("fsync", [&] { return directory.Write("from", "newer"), 0; });
        EXPECT_NE(UnderFaults([&] { return kelFile::Rename(from, volume + "/to"); }), kOk);
        EXPECT_TRUE(Snapshot(volume).empty() && ReadWhole(from) == "newer");
    });
}

TEST(FileOperationsFaults, OtherOperations_AnyCallFails_IsToldAndChangesNothing) {
    const TemporaryDirectory directory;
    const fs::path here = fs::current_path();
    const std::string file = directory.Write("file", "a");
    const std::string made = directory / "made with a name that is not short";
    const std::string empty = directory / "empty";
    constexpr auto kRuntime = FaultSource::Runtime;
    constexpr auto kSystem = FaultSource::System;
    constexpr auto kMemory = FaultSource::Memory;
    struct Row {
        FaultSource source;
        std::function<bool()> operation;
    };
    for (const auto& [source, operation] : std::vector<Row>{
             {kRuntime, [&] { return kelFile::Rename(file, made) == kOk; }},
             {kSystem, [&] { return kelFile::NativeRename(file, made) == kOk; }},
             {kRuntime, [&] { return kelFile::Delete(file) == kOk; }},
             {kRuntime, [&] { return kelFile::Exists(file); }},
             {kSystem, [&] { return kelFile::SetPermissions(file, 0x600) == kOk; }},
             {kRuntime, [&] { return kelDirectory::Create(made, 0x755, true) == kOk; }},
             {kRuntime, [&] { return kelDirectory::Delete(empty) == kOk; }},
             {kRuntime, [&] { return kelDirectory::SetCurrentDirectory(empty) == kOk; }},
             {kRuntime, [&] { return kelDirectory::GetCurrentDirectory() == here; }},
             {kMemory, [&] { return kelDirectory::GetCurrentDirectory() == here; }},
             {kRuntime, [&] { return kelDirectory(directory.Path()).GetNumberOfFiles() == 2; }},
             {kRuntime, [&] { return kelDirectory::GetFileNames(directory.Path()).size() == 2; }},
             {kMemory, [&] { return kelDirectory::GetFileNames(directory.Path()).size() == 2; }}}) {
        WalkFaults("row", source, [&, &operation = operation] {
            fs::remove(made);
            fs::create_directory(empty);
            directory.Write("file", "a");
            const bool done = UnderFaults(operation);
            EXPECT_TRUE(done || (ReadWhole(file) == "a" && fs::exists(empty)));
            EXPECT_TRUE(done || fs::current_path() == here);
            fs::current_path(here);
            return done ? Outcome::Succeeded : Outcome::Failed;
        });
    }
}

}  // namespace
