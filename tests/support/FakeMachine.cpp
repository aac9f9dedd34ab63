#include "support/FakeMachine.h"

#include "platform/SharedSegments.h"

namespace zukel::test {

FakeMachine FakeMachine::current;

}  // namespace zukel::test

namespace zukel::platform {

using test::FakeMachine;

MemoryBytes QueryMemory() noexcept {
    return FakeMachine::current.memory;
}

bool QueryDisk(const char*, DiskBytes& disk) noexcept {
    if (FakeMachine::current.hasDisk) {
        disk = FakeMachine::current.disk;
    }
    return FakeMachine::current.hasDisk;
}

int NumberOfProcessors() noexcept {
    return FakeMachine::current.processors;
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    FakeMachine::current.leavesRead.push_back(leaf);
    const auto found = FakeMachine::current.leaves.find(leaf);
    return found == FakeMachine::current.leaves.end() ? CpuRegisters() : found->second;
}

void ReadTimeZone() noexcept {}

namespace {

bool Record(const char* call) noexcept {
    FakeMachine::current.segmentCalls += call;
    return true;
}

bool Map(const char* call, Segment& segment) noexcept {
    static char block[8];
    segment.address = block;
    segment.size = sizeof block;
    return Record(call);
}

}  // namespace

bool CreateSegment(std::uint64_t, const char*, apr_pool_t*, Segment& segment) noexcept {
    return Map("create ", segment);
}
bool AttachSegment(const char*, apr_pool_t*, Segment& segment) noexcept {
    return Map("attach ", segment);
}
bool UnmapSegment(Segment& segment) noexcept {
    segment.address = nullptr;
    return Record("unmap ");
}
bool RemoveSegmentName(const char*, const Segment&, apr_pool_t*) noexcept {
    return Record("remove ");
}

}  // namespace zukel::platform
