#pragma once

#include <map>

#include "support/Faults.h"

/// What the walks share; faults/WalkTest.cpp says what a walk is.
namespace zukel::test {

using Directory = kelDirectory;
using Memory = kelSharedMemory;
using Library = kelLibrary;

const std::string kFrom = "the source of a transfer", kTo = "the target of a transfer";
const std::string kNew = "the contents that a file gets, longer than a string holds in itself";

inline int Status(bool succeeded) {
    return succeeded ? kOk : kFailed;
}

/// A folder on another volume than that of temporary files.
extern const char* const kOtherVolume;

/// Errors of the system: one that has a status of its own, and others.
extern const int kDenied;
extern const std::vector<int> kRefusals;

/// How the calls begin that take a name away.
extern const char* const kRemoval;

/// How many descriptors a program started now would have.
int Inheritable();

/// Ends a child of this process, where it still runs.
void EndChild(int pid);

using Entries = std::map<std::string, std::string>;

/// Of a file, unless Windows keeps it from being opened: a segment's. Large ones in short.
inline std::string Contents(const std::string& name) {
    if (kOnWindows && !std::ifstream(name).is_open()) {
        return "held";
    }
    const std::string whole = ReadWhole(name);
    return whole.size() < 200 ? whole : std::to_string(std::hash<std::string>()(whole));
}

/// What stands around an operation: names, and objects in the middle of their work. Every name is
/// longer than a string holds in itself.
struct World {
    const int inheritable = Inheritable();
    const TemporaryDirectory place, beyond{kOtherVolume};
    const std::string file = place.Write("a file that has sixteen bytes", "0123456789abcdef");
    const std::string missing = place / "nothing stands here as yet", from = place / kFrom;
    const std::string program = place.Write("a program without an interpreter", "echo out; >ran");
    const std::string folder = place / "an empty directory, to be deleted";
    const std::string taken = place / "the name of a segment that stands";
    std::string to = place / kTo;

    Library library;
    kelMappedFile mapped;
    kelFile empty{&library}, open{file, kReadWrite}, buffered{file, kReadWrite | kBuffered};
    Directory closed{&library}, listing{place.Path()};
    Memory none{&library}, owner, attached;
    kelDynamicObject module{&library};
    kelProcess process;
    int pid = -1;  ///< Of the child that was running at the start.
    kelTime time{1000};

    long number = 0;
    double fraction = 0;
    zuString text = "untouched";
    zuStlVector<zuString> names;
    char line[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    unsigned long long size = 4;
    long long offset = -1;
    zuDiskInfo disk;
    kelMemoryInfo memory;
    long long (*answer)() = nullptr;
    const Guard back = WorkingDirectory(".");

    World() {
        fs::create_directory(folder);
        fs::permissions(program, fs::perms::owner_all);
        EXPECT_EQ(buffered.Write('0'), kOk) << "something to write out, which changes nothing";
        EXPECT_THAT(Statuses({owner.Create(100, taken), attached.Attach(taken)}), Each(kOk));
    }
    ~World() {
        EndChild(pid);
        if (pid != -1) {
            EXPECT_TRUE(AllReaped()) << pid;
        }
        none = owner = attached = Memory();
        for (const std::string& name : {missing, taken}) {
            const int removed = Memory().Remove(name);
            // Windows: an empty file of this name is taken for a segment that is being made.
            if (fault.once && !(kOnWindows && name == missing)) {
                EXPECT_NE(removed, kOk) << "a segment is left: " << name;
            }
        }
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// The current directory, what the files hold and the links say in both directories, and what
    /// has been read.
    Entries Names() const {
        const std::string read = std::to_string(number) + ' ' + std::to_string(fraction);
        Entries all = {{"", fs::relative(fs::current_path(), place.Path()).generic_string()},
                       {"/", read + ' ' + std::string(line, sizeof line)}};
        for (const auto* each : {&place, &beyond}) {
            for (const auto& entry : fs::recursive_directory_iterator(each->Path())) {
                fs::path name = entry.path().filename();
                if (name.extension() == ".zukel-removed") {
                    name.replace_extension().replace_extension(".removed");  // its number
                }
                all[name.string()] = entry.is_symlink()     ? fs::read_symlink(entry).string()
                                     : entry.is_directory() ? "directory"
                                                            : Contents(entry.path().string());
            }
        }
        return all;
    }
};

/// What a failure leaves.
enum class After {
    AsBefore,           ///< Everything; the same call then succeeds.
    Ended,              ///< Every name; the object is ended, and the same call fails.
    NoPartOfIt,         ///< As before, or no target.
    Made,               ///< As before, or what was to be made: only the last look at it failed.
    Replaced,           ///< As before, or as after a success: only the last wait failed.
    AsBeforeOrRenamed,  ///< As before; if clearing up fails too, under some name of the directory.
};

struct Row {
    std::string name;
    std::function<int(World&)> call;
    After after = After::AsBefore;
    int failure = kFailed;
    std::function<void(World&)> prepare = [](World&) {};
    bool plain = true;  ///< One operation, and none of the test's own work.

    Row(std::string text, std::function<int(World&)> makes)
        : name(std::move(text)), call(std::move(makes)) {}
    Row& Leaves(After what) { return after = what, *this; }
    Row& Fails(int status) { return failure = status, *this; }
    Row& Prepared(std::function<void(World&)> how) { return prepare = std::move(how), *this; }
    Row& WithOwnWork() { return plain = false, *this; }
};
#define ROW(...) Row(#__VA_ARGS__, [=]([[maybe_unused]] World& it) -> int { return __VA_ARGS__; })

/// Makes the row's call in threads of processes of their own, where that can be.
void StepInThreads(const Row& row);

/// Steps through each row with the nth call of each source failing, n from 1 until the step passes
/// without a fault, once and from there on, and of the system once with each error by which it
/// refuses, lacks a call, or is interrupted; up to the first row in which a check fails.
void Walk(const std::vector<Row>& rows, const std::vector<int>& refusals = kRefusals);

}  // namespace zukel::test
