#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/Machine.h"

namespace zukel::test {

/// The machine below the portable code under test: what it answers and what it was asked for. It
/// has one segment, under any name.
struct FakeMachine {
    platform::MemoryBytes memory;
    platform::DiskBytes disk;
    bool hasDisk = false;
    int processors = 0;
    std::map<std::uint32_t, platform::CpuRegisters> leaves;  ///< Others are all zero.
    std::vector<std::uint32_t> leavesRead;
    std::string segmentCalls;

    /// The one in use; each test sets it back.
    static FakeMachine current;
};

}  // namespace zukel::test
