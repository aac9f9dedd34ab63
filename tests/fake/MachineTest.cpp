#include "platform/Machine.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>

#include "kelCPUInfo.h"
#include "kelSystem.h"
#include "platform/SharedSegments.h"

namespace zukel::platform {

/// The machine below the portable code: what it answers. It has no segment and no disk.
static MemoryBytes memory;
static std::map<std::uint32_t, CpuRegisters> leaves;

MemoryBytes QueryMemory() noexcept {
    return memory;
}
bool QueryDisk(const char*, DiskBytes&) noexcept {
    return false;
}
int NumberOfProcessors() noexcept {
    return 3;
}
CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    return leaves[leaf];
}
void ReadTimeZone() noexcept {}
bool CreateSegment(std::uint64_t, const char*, apr_pool_t*, Segment&) noexcept {
    return false;
}
bool AttachSegment(const char*, apr_pool_t*, Segment&) noexcept {
    return false;
}
bool UnmapSegment(Segment&) noexcept {
    return false;
}
bool RemoveSegmentName(const char*, const Segment&, apr_pool_t*) noexcept {
    return false;
}

using Of = kelSystem;

TEST(Machine, MemoryFigures_AreRoundedEachByItself) {
    const std::pair<MemoryBytes, std::array<unsigned long long, 9>> rows[] = {
        {{2047, 1023, 1024, 1024, 4096, 8192}, {1, 1, 0, 1, 0, 1, 4, 0, 4}},
        {{kUnknown, 2048, 1024, kUnknown, 0, 0}, {kUnknown, kUnknown, 2, 1, kUnknown, kUnknown}},
        {{1024, 0, 30720, 4096, 51200, 6144}, {1, 1, 0, 30, 26, 4, 50, 44, 6}},
    };
    for (const auto& [bytes, figures] : rows) {
        memory = bytes;
        kelMemoryInfo info;
        Of::GetMemoryDetails(info);
        EXPECT_EQ(std::memcmp(&info, figures.data(), sizeof info), 0);
        const std::array<unsigned long long, 9> single = {
            Of::TotalPhysicalMemory(), Of::UsedPhysicalMemory(), Of::AvailablePhysicalMemory(),
            Of::TotalVirtualMemory(),  Of::UsedVirtualMemory(),  Of::AvailableVirtualMemory(),
            Of::TotalPagingMemory(),   Of::UsedPagingMemory(),   Of::AvailablePagingMemory()};
        EXPECT_EQ(single, figures);
    }
}

/// Most registers are as they were read from real processors and published (InstLatx64).
TEST(Machine, Processors_AnswerByTheirRegisters) {
    struct Row {
        char vendor[13];
        std::uint32_t highest, ebx1, edx1, highestExtended, ecx80000001, ecx80000008;
        int perPackage;
        bool multiThreading;
    };
    const Row rows[] = {
        {"GenuineIntel", 2, 0x00000004, 0x0383fbff, 0x80000004, 0, 0, 1, false},  // Pentium III
        {"GenuineIntel", 2, 0x0001080a, 0xbfebfbff, 0x80000004, 0, 0, 1, true},   // Celeron 2.00
        {"GenuineIntel", 5, 0x00020800, 0xbfebfbff, 0x80000008, 0, 0, 2, true},   // Pentium 4 3.20
        {"GenuineIntel", 0x80000000, 0x00100800, ~0U, 0x80000008, 1, 0, 1, false},
        {"GenuineIntel", 3, 0x00080800, 0x0fffffff, 0x80000008, 3, 3, 1, false},
        {"GenuineIntel", 4, 0x00080800, 0x0fffffff, 0x80000008, 3, 3, 8, false},
        {"AuthenticAMD", 1, 0x00020800, 0x178bfbff, 0x80000018, 3, 1, 2, false},  // Athlon 64 X2
        {"AuthenticAMD", 13, 0x00400800, 0x178bfbff, 0x8000001f, 0x35c233ff, 0x603f, 64, false},
        {"AuthenticAMD", 16, 0x00020800, ~0U, 0x80000008, ~2U, 0xff07, 16, true},
        {"AuthenticAMD", 16, 0x00020800, ~0U, 0x80000007, ~2U, 0xff07, 2, true},
        {"AuthenticAM", 22, 0x00100800, ~0U, 0x80000008, 3, 3, 1, false},
        {"", 0, 0, 0, 0, 0, 0, 1, false},  // no CPUID at all
    };
    for (const Row& row : rows) {
        std::uint32_t vendor[3];
        std::memcpy(vendor, row.vendor, sizeof vendor);
        leaves = {{0, {row.highest, vendor[0], vendor[2], vendor[1]}},
                  {1, {0, row.ebx1, 0, row.edx1}},
                  {0x80000000, {row.highestExtended, 0, 0, 0}},
                  {0x80000001, {0, 0, row.ecx80000001, 0}},
                  {0x80000008, {0, 0, row.ecx80000008, 0}}};
        EXPECT_EQ(kelCPUInfo::GetCPUID(), row.vendor);
        EXPECT_EQ(kelCPUInfo::GetLogicalProcsPerPackage(), row.perPackage) << &row - rows;
        EXPECT_EQ(kelCPUInfo::HasCMT(), row.multiThreading) << &row - rows;
    }
}

}  // namespace zukel::platform
