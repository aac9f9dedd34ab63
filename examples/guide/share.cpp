// Two processes share a memory segment: this program, and a child that runs the same program.

#include <kelProcess.h>
#include <kelSharedMemory.h>
#include <kelStatus.h>
#include <kelTime.h>

#include <atomic>
#include <cstdio>
#include <new>
#include <string>

namespace {

/// The contents of the segment. It must not contain pointers: each process maps it at an address of
/// its own.
struct Board {
    std::atomic<int> answer{0};
};

int Child(const zuString& name) {
    kelSharedMemory segment;
    if (segment.Attach(name) != kelStatusOk || segment.GetSize() < sizeof(Board)) {
        return 1;
    }
    static_cast<Board*>(segment.GetBaseAddress())->answer = 42;
    return 0;  // the segment stays: its creator removes it
}

int Parent(const zuString& program, const zuString& name) {
    kelSharedMemory segment;
    if (segment.Create(sizeof(Board), name) != kelStatusOk) {
        std::fprintf(stderr, "share: the segment cannot be made\n");
        return 1;
    }
    const Board& board = *new (segment.GetBaseAddress()) Board;
    kelProcess child;
    if (child.Start(program, {name}, false) != kelStatusOk) {
        std::fprintf(stderr, "share: %s\n", child.GetLastError().c_str());
        return 1;
    }
    while (child.IsRunning()) {
        kelTime::Sleep(1000);
    }
    std::printf("the other process wrote %d\n", board.answer.load());
    return 0;  // the destructor removes the segment
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2) {
        return Child(arguments[1]);
    }
    return Parent(arguments[0],
                  "guide-share-" + std::to_string(kelProcess::GetCurrentProcessPid()));
}
