#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "support/Faults.h"
#include "support/TemporaryDirectory.h"
#include "zukel.h"

/// The table of a fault walk: operations, what each may fail with, and what it then leaves.
namespace zukel::test {

constexpr int kOk = kelStatusOk;
constexpr int kFailed = kelStatusFailed;
constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite;

inline int Status(bool succeeded) {
    return succeeded ? kOk : kFailed;
}

using Entries = std::map<std::string, std::string>;

/// Names below a directory, and what the files hold and the links say.
Entries Snapshot(const std::string& directory);

/// Whether the two folders of a `World` are on different volumes.
bool OnTwoVolumes();

/// What stands around an operation: names, and objects in the middle of their work. Every name is
/// longer than a string holds in itself.
struct World {
    const TemporaryDirectory place, beyond{"/dev/shm"};  ///< On two volumes.
    const std::filesystem::path here = std::filesystem::current_path();
    const std::string file = place.Write("a file that has sixteen bytes", "0123456789abcdef");
    const std::string missing = place / "nothing stands here as yet";
    const std::string from = place / "the source of a transfer";
    const std::string program = place.Write("a program without an interpreter", "echo out; >ran");
    const std::string taken = place / "the name of a segment that stands";
    std::string to = place / "the target of a transfer";

    kelLibrary library;
    kelFile empty, open{file, kReadWrite}, buffered{file, kReadWrite | kelFile::ModeBuffered};
    kelDirectory closed, listing{place.Path()};
    kelSharedMemory none, owner, attached;
    kelDynamicObject unloaded, module;
    kelProcess process;
    int pid = -1;  ///< Of the child that was running at the start.
    kelTime time{1000};

    zuString text = "untouched";
    long value = 42;
    char line[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    unsigned long long size = 4;

    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    using State = std::tuple<Entries, Entries, std::filesystem::path>;
    State Names() const;
    auto Outputs() const { return text + std::string(line, 8) + std::to_string(value); }
};

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

/// Walks each row with every call failing in turn, up to the first row in which a check fails.
void Walk(const std::vector<Row>& rows);

}  // namespace zukel::test
