// Every operation that may fail, with every call below it failing in turn: of the runtime, of the
// system and of `operator new`.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>
#include <optional>

#include "support/ChildRunner.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"
#include "zukel.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Directory = kelDirectory;
using Memory = kelSharedMemory;

namespace {

constexpr int kOk = kelStatusOk;
constexpr int kFailed = kelStatusFailed;
constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite;
constexpr int kNewBuffered = kReadWrite | kelFile::ModeCreate | kelFile::ModeBuffered;

int Status(bool succeeded) {
    return succeeded ? kOk : kFailed;
}

/// Names below a directory, and what the files hold and the links say.
std::map<std::string, std::string> Snapshot(const std::string& directory) {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        all[entry.path().filename().string()] =
            entry.is_symlink()     ? "-> " + fs::read_symlink(entry.path()).string()
            : entry.is_directory() ? "directory"
                                   : ReadWhole(entry.path().string());
    }
    return all;
}

/// What stands around an operation: names, and objects in the middle of their work. Every name is
/// longer than a string holds in itself.
struct World {
    const TemporaryDirectory place, beyond{"/dev/shm"};  ///< On two volumes.
    const fs::path here = fs::current_path();
    const std::string file = place.Write("a file that has sixteen bytes", "0123456789abcdef");
    const std::string missing = place / "nothing stands here as yet";
    const std::string from = place / "the source of a transfer";
    const std::string program = place.Write("a program without an interpreter", "echo out; >ran");
    const std::string taken = place / "the name of a segment that stands";
    std::string to = place / "the target of a transfer";

    kelLibrary library;
    kelFile empty, open{file, kReadWrite}, buffered{file, kReadWrite | kelFile::ModeBuffered};
    kelDirectory closed, listing{place.Path()};
    kelFileInfo info{file};
    kelSharedMemory none, owner, attached;
    kelDynamicObject unloaded, module;
    kelProcess process;
    int pid = -1;  ///< Of the child that was running at the start.
    kelTime time{1000};

    zuString text = "untouched";
    long value = 42;
    char line[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    unsigned long long size = 4;

    World() {
        fs::create_directory(place / "an empty directory, to be deleted");
        fs::permissions(program, fs::perms::owner_all);
        EXPECT_EQ(buffered.Write('0'), kOk) << "something to write out, which changes nothing";
        EXPECT_EQ(owner.Create(100, taken) + attached.Attach(taken), kOk);
    }
    ~World() {
        fs::current_path(here);
        siginfo_t own{};
        if (pid != -1 &&
            waitid(P_PID, static_cast<id_t>(pid), &own, WEXITED | WNOHANG | WNOWAIT) == 0) {
            EXPECT_EQ(kill(pid, SIGKILL), 0) << "an object that was to end it has dropped it";
        }
        EXPECT_TRUE(pid == -1 || AllCollected());
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    using Entries = std::map<std::string, std::string>;
    using State = std::tuple<Entries, Entries, fs::path>;
    State Names() const {
        return {Snapshot(place.Path()), Snapshot(beyond.Path()), fs::current_path()};
    }
    auto Outputs() const { return text + std::string(line, 8) + std::to_string(value); }
};

bool OnTwoVolumes() {
    struct stat one {
    }, two{};
    return stat("/dev/shm", &one) == 0 && stat(fs::temp_directory_path().c_str(), &two) == 0 &&
           one.st_dev != two.st_dev;
}

/// What a failure leaves.
enum class After {
    AsBefore,      ///< Everything; the same call then succeeds.
    Ended,         ///< Every name; the object is ended, and the same call fails.
    Made,          ///< As before, or what was to be made: only the last look at it failed.
    NoPartOfIt,    ///< As before, or no target.
    UnderAnyName,  ///< As before; where clearing up fails as well, the target's old content at
                   ///< least.
};

struct Row {
    const char* name;
    int failure;
    std::function<int(World&)> call;
    After after = After::AsBefore;
    std::function<void(World&)> prepare = [](World&) {};
};

void ExpectNothingHappened(World& it, const Row& row, const World::State& before) {
    const auto now = it.Names();
    if (row.after == After::Made && now != before) {
        EXPECT_TRUE(fs::is_directory(it.missing));
    } else if (row.after == After::NoPartOfIt && now != before) {
        EXPECT_TRUE(!fs::exists(it.to) || !FaultIsSingle());
        EXPECT_EQ(ReadWhole(it.from), std::get<0>(before).at("the source of a transfer"));
    } else if (row.after == After::UnderAnyName && !FaultIsSingle()) {
        EXPECT_EQ(std::get<0>(now), std::get<0>(before)) << "the source";
        const auto& left = std::get<1>(now);
        for (const auto& former : std::get<1>(before)) {
            EXPECT_TRUE(std::any_of(left.begin(), left.end(), [&](const auto& each) {
                return each.second == former.second;
            }));
        }
    } else {
        EXPECT_EQ(now, before);
    }
    EXPECT_EQ(it.Outputs(), "untouchedxxxxxxxx42");
    EXPECT_TRUE(it.size == 4 || it.size == 0);
}

/// One step of a walk over the row: whether its call succeeded.
bool Step(const Row& row) {
    bool succeeded = false;
    std::string segment;
    {
        World it;
        segment = it.missing;
        row.prepare(it);
        const auto before = it.Names();
        try {
            const int status = UnderFaults([&] { return row.call(it); });
            EXPECT_TRUE(status == kOk || status == row.failure) << status;
            succeeded = status == kOk;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(FaultedSource(), FaultSource::Memory);
        }
        if (!succeeded) {
            ExpectNothingHappened(it, row, before);
            if (FaultIsSingle()) {
                EXPECT_EQ(row.call(it) == kOk, row.after != After::Ended) << "the same call again";
            }
        }
    }
    EXPECT_TRUE(Memory().Remove(segment) != kOk || !FaultIsSingle()) << "a name is left";
    return succeeded;
}

void Walk(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        WalkFaults(row.name, [&] { return Step(row); });
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

TEST(FaultWalk, Surroundings) {
    constexpr int kNoVariable = kelStatusNoVariable, kNoUser = kelStatusNoUser;
    using Library = kelLibrary;
    const std::string unset = "$ZUKEL_NAME_OF_A_VARIABLE_THAT_IS_NOT_SET/" + std::string(20, 'x');
    Walk({
        {"objects", kFailed,
         [](World& it) {
             Library copy(it.library);
             copy = it.library;
             return copy.Terminate() + copy.Initialize();
         }},
        {"get", kNoVariable,
         [](World& it) { return it.library.GetEnvironmentVariable(it.text, "PATH"); }},
        {"set", kNoVariable,
         [](World& it) { return it.library.SetEnvironmentVariable("ZUKEL_X", it.file); }},
        {"user", kNoUser, [](World& it) { return Library().GetCurrentUserName(it.text); }},
        {"home", kNoUser, [](World& it) { return it.library.GetUserDirectory(it.text); }},
        {"host", kFailed,
         [](World& it) {
             Library named;
             named.GetLocale();
             return named.GetHostName(it.text);
         }},
        {"temporary", kFailed, [](World&) { return Status(!Library().GetTempDir().empty()); }},
        {"expanded", kFailed,
         [](World&) { return Status(Library::GetAbsoluteFileName("~/x")[0] != '~'); }},
        {"variable", kFailed,
         [](World&) { return Status(Library::GetAbsoluteFileName("$PATH/x")[0] != '$'); }},
        {"unset", kFailed,
         [&](World&) { return Status(Library::GetAbsoluteFileName(unset) == unset); }},
        {"library", kFailed,
         [](World& it) { return Status(Library::GetAbsoluteLibraryName(it.file) != ""); }},
        {"info", kFailed, [](World& it) { return Status(kelFileInfo(it.file).GetSize() == 16); }},
        {"permissions", kFailed,
         [](World& it) { return Status(kelFileInfo(it.file).GetPermissions() != -1); }},
        {"time", kFailed, [](World& it) { return Status(kelTime(it.time).GetSeconds() == 0); }},
        {"local", kFailed,
         [](World& it) {
             return Status((it.time.MakeLocalTime(), it.time.GetMicroSeconds() >= 1000));
         }},
        {"text", kFailed, [](World& it) { return it.time.GetFormatTime(it.text, it.file); }},
        {"disk", kFailed,
         [](World& it) {
             zuDiskInfo disk;
             return Status(kelSystem::GetFreeDiskSpace(it.file.c_str(), disk));
         }},
        {"memory", kFailed, [](World&) { return Status(kelSystem::UsedVirtualMemory() != ~0ULL); }},
        {"counter", kFailed, [](World&) { return Status(kelAtomic().Increment() == 0); }},
    });
}

TEST(FaultWalk, Files) {
    const auto onBoth = [](std::vector<Row>& rows, const char* name, int (*call)(World&, kelFile&),
                           After after = After::AsBefore) {
        rows.push_back({name, kFailed, [call](World& it) { return call(it, it.open); }, after});
        rows.push_back({name, kFailed, [call](World& it) { return call(it, it.buffered); }, after});
    };
    std::vector<Row> rows = {
        {"open", kFailed, [](World& it) { return it.empty.Open(it.file, kReadWrite); }},
        {"create", kFailed, [](World& it) { return it.empty.Open(it.missing, kNewBuffered); }},
        {"open and keep", kFailed,
         [](World& it) { return it.empty.Open(it.file, kReadWrite | kelFile::ModeNoCleanup); }},
        {"new", kFailed, [](World& it) { return Status(kelFile(it.file, kReadWrite).IsOpen()); }},
        {"temporary", kFailed,
         [](World& it) { return kelFile().CreateTemporaryFile(it.missing + "XXXXXX"); }},
        {"relative", kFailed, [](World& it) { return it.empty.CreateTemporaryFile("XXXXXX"); },
         After::AsBefore, [](World& it) { fs::current_path(it.beyond.Path()); }},
        {"copied", kFailed,
         [](World& it) {
             kelFile copy(it.open);
             copy = it.buffered;
             return Status(copy.IsOpen());
         }},
        {"access", kFailed,
         [](World& it) { return Status(it.open.IsReadable() && it.open.IsWritable()); }},
        {"readable", kFailed,
         [](World& it) { return Status(kelFile(it.open).GetFileName().empty()); }},
        {"flush", kFailed, [](World& it) { return it.buffered.Flush(); }},
        {"exists", kelStatusNotFound, [](World& it) { return kelFile::Exists(nullptr, it.file); }},
        {"delete", kFailed, [](World& it) { return kelFile::Delete(it.program); }},
        {"permissions", kFailed, [](World& it) { return kelFile::SetPermissions(it.file, 0x600); }},
    };
    onBoth(rows, "value", [](World& it, kelFile& file) { return file.Read(it.value); });
    onBoth(rows, "block", [](World& it, kelFile& file) { return file.Read(it.line, it.size); });
    onBoth(rows, "line", [](World& it, kelFile& file) { return file.ReadLine(it.line, 8); });
    onBoth(rows, "write", [](World&, kelFile& file) { return file.Write(7); });
    onBoth(rows, "write line", [](World&, kelFile& file) { return file.WriteLine("12345678"); });
    onBoth(rows, "write block",
           [](World& it, kelFile& file) { return file.Write(it.line, it.size); });
    onBoth(rows, "seek", [](World&, kelFile& file) { return file.SeekTo(2); });
    onBoth(rows, "begin", [](World&, kelFile& file) { return file.SeekToBegin(); });
    onBoth(rows, "end", [](World&, kelFile& file) { return file.SeekToEnd(); });
    onBoth(
        rows, "close", [](World&, kelFile& file) { return file.Close(); }, After::Ended);
    Walk(rows);
}

TEST(FaultWalk, Directories) {
    const auto size = [](const zuStlVector<zuString>& names) { return Status(names.size() == 3); };
    constexpr int kUnread = kelStatusReadFailed;
    Walk({
        {"open", kFailed, [](World& it) { return it.closed.Open(it.place.Path()); }},
        {"close", kFailed, [](World& it) { return it.listing.Close(); }, After::Ended},
        {"first", kFailed, [](World& it) { return Status(it.listing.ReadFirst(it.text) == kOk); }},
        {"next", kUnread, [](World& it) { return it.listing.ReadNext(it.text); }},
        {"copied", kFailed,
         [](World& it) {
             kelDirectory copy(it.listing);
             copy = it.listing;
             return Status(copy.GetName() == it.place.Path());
         }},
        {"number", kFailed, [](World& it) { return Status(it.listing.GetNumberOfFiles() == 3); }},
        {"names", kFailed, [&](World& it) { return size(it.listing.GetFileNames()); }},
        {"static names", kFailed,
         [&](World& it) { return size(Directory::GetFileNames(it.place.Path())); }},
        {"make", kFailed, [](World& it) { return Directory::Create(it.missing, 0x755, false); }},
        {"make all", kFailed, [](World& it) { return Directory::Create(it.missing, 0x755, true); },
         After::Made},
        {"delete", kFailed,
         [](World& it) {
             return Directory::Delete(it.place / "an empty directory, to be deleted");
         }},
        {"change", kFailed,
         [](World& it) { return Directory::SetCurrentDirectory(it.place.Path()); }},
        {"current", kFailed,
         [](World& it) { return Status(Directory::GetCurrentDirectory() == it.here); }},
        {"absolute", kFailed,
         [](World& it) { return Status(Directory::GetAbsolutePath(it.file) == it.file); }},
        {"relative", kFailed,
         [](World&) { return Status(Directory::GetRelativePath("/", "/usr") == "./usr/"); }},
    });
}

TEST(FaultWalk, SegmentsModulesAndProcesses) {
    constexpr unsigned long long kLarge = 16U << 20U;
    const auto child = [](World& it) {
        EXPECT_EQ(it.process.Start("sleep", {"30"}, false), kOk);
        it.pid = it.process.GetPid();
    };
    const auto files = [](World& it) { it.beyond.Write("out", ""), it.beyond.Write("err", ""); };
    const auto start = [](World& it) {  // with every stretch of its work
        const std::string out = it.beyond / "out", error = it.beyond / "err";
        const int status =
            it.process.Start(it.program, {it.file}, it.beyond.Path(), {out, error}, true);
        const Guard own = Counting(false);
        EXPECT_TRUE(Ends(it.process));
        EXPECT_EQ(fs::remove(it.beyond / "ran"), status == kOk);
        EXPECT_EQ(it.process.GetPid() != -1, status == kOk);
        EXPECT_EQ(it.process.GetLastError().empty(), status == kOk);
        EXPECT_TRUE(status != kOk || ReadWhole(out) == "out\n" ||
                    FaultedSource() == FaultSource::Runtime);
        return status;
    };
    Walk({
        {"create", kFailed, [](World& it) { return it.none.Create(100, it.missing); }},
        {"create large", kFailed, [](World& it) { return it.none.Create(kLarge, it.missing); }},
        {"new", kFailed, [](World& it) { return Memory().Attach(it.taken); }},
        {"attach", kFailed, [](World& it) { return it.none.Attach(it.taken); }},
        {"destroy", kFailed, [](World& it) { return it.owner.Destroy(); }, After::Ended},
        {"detach", kFailed, [](World& it) { return it.attached.Detach(); }, After::Ended},
        {"remove", kFailed, [](World& it) { return it.owner.Remove(it.taken); }, After::Ended},
        {"load", kFailed,
         [](World& it) { return it.unloaded.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"); }},
        {"load by parts", kFailed,
         [](World& it) { return it.unloaded.kelLoadLibraryEx(ZUKEL_TEST_MODULES, "first"); }},
        {"start", kFailed, start, After::AsBefore, files},
        {"kill", kFailed, [](World& it) { return it.process.Kill(); }, After::Ended, child},
        {"native kill", kFailed,
         [](World& it) { return kelProcess::NativeKill(it.process.GetPid()); }, After::AsBefore,
         child},
        {"running", kFailed, [](World& it) { return Status(kelProcess(it.process).IsRunning()); },
         After::AsBefore, child},
    });
    EXPECT_TRUE(AllCollected());
    InChild([] {
        const TemporaryDirectory place;
        const std::string out = place / "out";
        close(STDIN_FILENO);
        close(STDERR_FILENO);
        WalkFaults("start when the files take the numbers of the streams", [&] {
            kelProcess process;
            int status = kFailed;
            try {
                status = UnderFaults([&] {
                    return process.Start("echo", {"out"}, "", {out, place / "err"}, false);
                });
            } catch (const std::bad_alloc&) {
            }
            EXPECT_TRUE(Ends(process));
            process = kelProcess();
            EXPECT_TRUE(AllCollected());
            const bool whole = fs::exists(out) && ReadWhole(out) == "out\n";
            fs::remove(out);
            return status == kOk && (whole || FaultedSource() == FaultSource::Runtime);
        });
    });
}

TEST(FaultWalk, Transfers) {
    if (!OnTwoVolumes()) {
        GTEST_SKIP() << "there is no second volume";
    }
    struct Way {
        const char* name;
        After after;
        const char* lacks;  ///< A call that the system does not have, and how it says so.
        int error;
        std::function<int(World&)> run;
    };
    const auto copy = [](World& it) { return kelFile::Copy(it.from, it.to, 0x644); };
    const auto full = [](World& it) { return kelFile::Copy(it.from, it.to, 0x1000); };
    const auto native = [](World& it) { return kelFile::NativeCopy(it.from, it.to, 0); };
    const auto move = [](World& it) { return kelFile::Rename(it.from, it.to); };
    const auto rename = [](World& it) { return kelFile::NativeRename(it.from, it.to); };
    const Way ways[] = {
        {"copy", After::NoPartOfIt, "", 0, copy},
        {"copy by blocks", After::NoPartOfIt, "copy_file_range", EXDEV, copy},
        {"copy with permissions", After::NoPartOfIt, "", 0, full},
        {"native copy", After::NoPartOfIt, "", 0, native},
        {"move", After::UnderAnyName, "", 0, move},
        {"move without exchange", After::UnderAnyName, "renameat2", EINVAL, move},
        {"move without links", After::UnderAnyName, "linkat", EPERM, move},
        {"native rename", After::AsBefore, "", 0, rename},
    };
    for (const Way& way : ways) {
        for (const bool exists : {false, true}) {
            for (const std::string kind : {"plain", "sparse", "link"}) {
                const bool moves = way.after == After::UnderAnyName;
                if (kind == (moves ? "sparse" : "link")) {
                    continue;
                }
                const auto prepare = [&](World& it) {
                    it.to = moves ? it.beyond / "the target of a transfer" : it.to;
                    if (kind == "link") {
                        fs::create_symlink("somewhere", it.from);
                    } else {
                        fs::resize_file(
                            it.place.Write("the source of a transfer", std::string(9000, 'c')),
                            kind == "sparse" ? 100000 : 9000);
                    }
                    // Where the volume has such attributes.
                    setxattr(it.from.c_str(), "user.zukel", "a", 1, 0);
                    if (exists) {
                        std::ofstream(it.to) << "old";
                    }
                };
                const auto call = [&](World& it) {
                    const Guard lacking = AtCall(way.lacks, [&] { return way.error; });
                    const auto source = [&] {
                        const Guard own = Counting(false);
                        return Snapshot(it.place.Path())["the source of a transfer"];
                    }();
                    const int status = way.run(it);
                    const Guard own = Counting(false);
                    EXPECT_TRUE(
                        status != kOk ||
                        Snapshot(fs::path(it.to).parent_path())["the target of a transfer"] ==
                            source);
                    EXPECT_TRUE(status != kOk || way.after == After::NoPartOfIt ||
                                !fs::exists(fs::symlink_status(it.from)));
                    return status;
                };
                Walk({{way.name, kFailed, call, way.after, prepare}});
            }
        }
    }
}

TEST(Transfers, AcrossVolumes_CarryTheFactsAndLeaveASourceThatChanges) {
    if (!OnTwoVolumes()) {
        GTEST_SKIP() << "there is no second volume";
    }
    World it;
    const std::string to = it.beyond / "to";
    const auto time = fs::last_write_time(it.file) - std::chrono::nanoseconds(1234567890123);
    fs::last_write_time(it.file, time);
    fs::permissions(it.file, fs::perms(04751));
    {
        const Guard copied = AtCall("fsync", [&] { return fs::resize_file(it.file, 9), 0; });
        EXPECT_NE(UnderFaults([&] { return kelFile::Rename(it.file, to); }), kOk);
        EXPECT_TRUE(Snapshot(it.beyond.Path()).empty() && fs::file_size(it.file) == 9);
    }
    fs::last_write_time(it.file, time);
    EXPECT_EQ(kelFile::Rename(it.file, it.beyond.Path()), kFailed) << "a directory";
    EXPECT_EQ(kelFile::Rename(it.file, to), kOk);
    EXPECT_EQ(fs::status(to).permissions(), fs::perms(04751));
    EXPECT_TRUE(fs::last_write_time(to) == time);
    fs::current_path(it.beyond.Path());
    EXPECT_EQ(kelFile::Rename("to", it.file), kOk) << "a name without a folder";
    EXPECT_EQ(kelFile::Rename(it.file, "to"), kOk);
    EXPECT_EQ(kelFile::Rename("to", it.place / ""), kFailed) << "no name at all";
    if (geteuid() == 0) {  // what runs as its owner must not come to run as another
        EXPECT_EQ(chown("to", 65534, 65534) + chmod("to", 06751), 0);
        EXPECT_EQ(kelFile::NativeCopy("to", it.missing, 0), kOk);
        EXPECT_EQ(fs::status(it.missing).permissions(), fs::perms(0751));
        EXPECT_EQ(kelFile::Rename("to", it.from), kOk);
        EXPECT_EQ(fs::status(it.from).permissions(), fs::perms(06751));
    }
}

}  // namespace
