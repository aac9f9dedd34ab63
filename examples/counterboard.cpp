// Several processes count in one shared memory segment, and the first one adds up the counters.
//
//     counterboard [CHILDREN [ROUNDS]]
//
// Starts CHILDREN processes (4). Each increments a counter of its own and a counter that all share,
// ROUNDS times (1000000). Exit code: 0 if no increment was lost, 1 if one was or an operation
// failed, 2 for wrong arguments.
//
//     counterboard --count BOARD FIELD ROUNDS
//
// is how the children are started.

#include <kelProcess.h>
#include <kelSharedMemory.h>
#include <kelStatus.h>
#include <kelTime.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kMostChildren = 64;

// The contents of the segment. A new segment is filled with zeros, the initial value of each
// counter; the counters are lock-free, so they work between processes.
struct Board {
    std::atomic<std::uint64_t> sum;
    std::array<std::atomic<std::uint64_t>, kMostChildren> fields;
    std::array<std::atomic<bool>, kMostChildren> done;
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

int Fail(const char* what, const std::string& why) {
    std::fprintf(stderr, "counterboard: %s %s\n", what, why.c_str());
    return 1;
}

// A number from 1 to `most`, or 0.
std::uint64_t Number(const char* text, std::uint64_t most) {
    char* end = nullptr;
    const std::uint64_t number = std::strtoull(text, &end, 10);
    return *text >= '1' && *text <= '9' && *end == '\0' && number <= most ? number : 0;
}

int Count(const std::string& name, std::size_t field, std::uint64_t rounds) {
    kelSharedMemory memory;
    if (memory.Attach(name) != kelStatusOk || memory.GetSize() < sizeof(Board)) {
        return Fail("no board is called", name);
    }
    auto& board = *static_cast<Board*>(memory.GetBaseAddress());
    for (std::uint64_t round = 0; round < rounds; ++round) {
        board.fields[field].fetch_add(1, std::memory_order_relaxed);
        board.sum.fetch_add(1, std::memory_order_relaxed);
    }
    board.done[field] = true;
    return 0;  // only the creator removes the name
}

bool MakeBoard(kelSharedMemory& memory, const std::string& name) {
    if (memory.Create(sizeof(Board), name) == kelStatusOk) {
        return true;
    }
    // The name contains the pid of this process: whoever left a segment under it has ended.
    kelSharedMemory().Remove(name);
    return memory.Create(sizeof(Board), name) == kelStatusOk;
}

int Show(const Board& board, std::size_t children, std::uint64_t rounds) {
    std::uint64_t added = 0;
    std::printf("  child        counted\n");
    for (std::size_t child = 0; child < children; ++child) {
        const std::uint64_t counted = board.fields[child];
        std::printf("  %5zu %14llu%s\n", child + 1, static_cast<unsigned long long>(counted),
                    board.done[child] ? "" : "  not to its end");
        added += counted;
    }
    const std::uint64_t sum = board.sum;
    std::printf("  added %14llu\n  shared%14llu\n", static_cast<unsigned long long>(added),
                static_cast<unsigned long long>(sum));
    const bool whole = added == sum && sum == children * rounds;
    std::printf("%s\n", whole ? "Nothing was lost." : "Counts are missing.");
    return whole ? 0 : 1;
}

int Lead(const char* program, std::size_t children, std::uint64_t rounds) {
    const std::string name = "counterboard-" + std::to_string(kelProcess::GetCurrentProcessPid());
    kelSharedMemory memory;
    if (!MakeBoard(memory, name)) {
        return Fail("cannot make the board", name);
    }
    std::vector<kelProcess> processes(children);
    for (std::size_t child = 0; child < children; ++child) {
        const zuStlVector<zuString> arguments = {"--count", name, std::to_string(child),
                                                 std::to_string(rounds)};
        if (processes[child].Start(program, arguments, false) != kelStatusOk) {
            return Fail("cannot start a child:", processes[child].GetLastError());
        }
    }
    for (const kelProcess& process : processes) {
        while (process.IsRunning()) {
            kelTime::Sleep(1000);
        }
    }
    return Show(*static_cast<const Board*>(memory.GetBaseAddress()), children, rounds);
}

}  // namespace

int main(int count, char** arguments) {
    constexpr std::uint64_t kMostRounds = 1000000000;
    if (count == 5 && std::string(arguments[1]) == "--count") {
        const std::uint64_t field = std::strtoull(arguments[3], nullptr, 10);
        const std::uint64_t rounds = Number(arguments[4], kMostRounds);
        if (field < kMostChildren && rounds != 0) {
            return Count(arguments[2], field, rounds);
        }
    } else if (count <= 3) {
        const std::uint64_t children = count > 1 ? Number(arguments[1], kMostChildren) : 4;
        const std::uint64_t rounds = count > 2 ? Number(arguments[2], kMostRounds) : 1000000;
        if (children != 0 && rounds != 0) {
            return Lead(arguments[0], children, rounds);
        }
    }
    std::fprintf(stderr, "usage: counterboard [CHILDREN [ROUNDS]]\n");
    return 2;
}
