#include <apr_shm.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "frame/Pool.h"
#include "kelCPUInfo.h"
#include "kelSharedMemory.h"
#include "kelSystem.h"
#include "support/FakeMachine.h"
#include "support/TemporaryDirectory.h"

using zukel::platform::CpuRegisters;
using zukel::platform::kUnknown;
using zukel::test::FakeMachine;

namespace {

class Machine : public testing::Test {
public:
    Machine() { FakeMachine::current = {}; }

    FakeMachine& machine = FakeMachine::current;
};

TEST_F(Machine, MemoryFigures_AreRoundedEachByItself) {
    struct Row {
        std::uint64_t total, available;  // bytes
        unsigned long long figures[3];   // total, used, available
    };
    const Row rows[] = {
        {2047, 1023, {1, 1, 0}},
        {1024, 1024, {1, 0, 1}},
        {4096, 8192, {4, 0, 4}},  // no figure wraps
        {0, 0, {0, 0, 0}},
        {kUnknown, 1024, {kUnknown, kUnknown, 1}},
        {1024, kUnknown, {1, kUnknown, kUnknown}},
        {kUnknown - 1, 0, {kUnknown >> 10U, kUnknown >> 10U, 0}},
    };
    for (const Row& row : rows) {
        machine.memory = {row.total,     row.available, row.total,
                          row.available, row.total,     row.available};
        kelMemoryInfo info;
        kelSystem::GetMemoryDetails(info);
        const unsigned long long expected[] = {row.figures[0], row.figures[1], row.figures[2],
                                               row.figures[0], row.figures[1], row.figures[2],
                                               row.figures[0], row.figures[1], row.figures[2]};
        EXPECT_EQ(std::memcmp(&info, expected, sizeof expected), 0)
            << row.total << ' ' << row.available;
    }
    machine.memory = {1U << 10U, 2U << 10U, 30U << 10U, 4U << 10U, 50U << 10U, 6U << 10U};
    EXPECT_EQ(kelSystem::TotalPhysicalMemory(), 1U);
    EXPECT_EQ(kelSystem::UsedPhysicalMemory(), 0U);
    EXPECT_EQ(kelSystem::AvailablePhysicalMemory(), 1U);
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), 30U);
    EXPECT_EQ(kelSystem::UsedVirtualMemory(), 26U);
    EXPECT_EQ(kelSystem::AvailableVirtualMemory(), 4U);
    EXPECT_EQ(kelSystem::TotalPagingMemory(), 50U);
    EXPECT_EQ(kelSystem::UsedPagingMemory(), 44U);
    EXPECT_EQ(kelSystem::AvailablePagingMemory(), 6U);
}

/// Leaf 0 of a vendor whose highest leaf is `highest`.
CpuRegisters Leaf0(const char* vendor, std::uint32_t highest) {
    CpuRegisters leaf{highest, 0, 0, 0};
    std::memcpy(&leaf.ebx, vendor, 4);
    std::memcpy(&leaf.edx, vendor + 4, 4);
    std::memcpy(&leaf.ecx, vendor + 8, 4);
    return leaf;
}

constexpr std::uint32_t kThreading = 1U << 28U;  // EDX of leaf 1
constexpr std::uint32_t kLegacy = 1U << 1U;      // ECX of leaf 0x80000001
constexpr std::uint32_t kSizes = 0x80000008;     // the highest extended leaf that is asked for

TEST_F(Machine, Package_IsReadFromItsLeaves) {
    struct Row {
        const char* vendor;
        std::uint32_t highest, highestExtended;
        std::uint32_t threading, legacy;
        std::uint32_t logical, coreField;
        int perPackage;
        bool multiThreading;
        std::size_t leaves;  // at most this many are read for an answer
    };
    constexpr const char* kIntel = "GenuineIntel";
    constexpr const char* kAmd = "AuthenticAMD";
    const Row rows[] = {
        {kIntel, 0, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {kIntel, 0x80000000, kSizes, kThreading, 0, 8, 3, 1, false, 1},  // compared with its sign
        {kIntel, 1, 0, kThreading, 0, 2, 0, 2, true, 2},
        {kIntel, 3, 0, 0, 0, 8, 3, 1, false, 2},
        {kIntel, 3, kSizes, kThreading, kLegacy, 8, 3, 8, true, 2},
        {kIntel, 4, kSizes, 0, 0, 16, 3, 16, false, 2},
        {kIntel, 22, kSizes, 0, 0, 0, 3, 0, false, 2},
        {kIntel, 22, kSizes, kThreading, 0, 255, 0, 255, true, 2},
        {kAmd, 0, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {kAmd, 1, kSizes, 0, 0, 8, 3, 1, false, 5},
        {kAmd, 1, kSizes, 0, kLegacy, 8, 3, 4, false, 5},
        {kAmd, 16, kSizes, kThreading, kLegacy, 8, 7, 8, false, 5},
        {kAmd, 16, kSizes, kThreading, 0, 2, 7, 16, true, 5},
        {kAmd, 16, 0x80000007, kThreading, 0, 2, 7, 2, true, 4},
        {kAmd, 16, 0x80000007, 0, kLegacy, 2, 7, 1, false, 4},
        {kAmd, 16, 0x80000000, kThreading, kLegacy, 2, 7, 2, true, 3},
        {kAmd, 16, 0, kThreading, kLegacy, 2, 7, 2, true, 3},
        {kAmd, 16, 0xFFFFFFFF, kThreading, 0, 255, 255, 256 * 255, true,
         5},  // compared without one
        {"GenuineIntem", 22, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {"genuineintel", 22, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {"AuthenticAM\0", 22, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {"SomeOneElse!", 22, kSizes, kThreading, kLegacy, 8, 3, 1, false, 1},
        {"\0\0\0\0\0\0\0\0\0\0\0\0", 0, 0, 0, 0, 0, 0, 1, false, 1},  // no CPUID at all
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.vendor) + " by leaf " + std::to_string(row.highest) +
                     ", expecting " + std::to_string(row.perPackage));
        machine.leaves = {{0, Leaf0(row.vendor, row.highest)},
                          {1, {0, row.logical << 16U | 0xAB0000CD, 0, row.threading | 0x0FFFFFFF}},
                          {0x80000000, {row.highestExtended, 0, 0, 0}},
                          {0x80000001, {0, 0, row.legacy | 0xFFFFFFFD, 0}},
                          {0x80000008, {0, 0, row.coreField | 0xFFFFFF00, 0}}};
        EXPECT_EQ(kelCPUInfo::GetCPUID(), row.vendor);
        machine.leavesRead.clear();
        EXPECT_EQ(kelCPUInfo::GetLogicalProcsPerPackage(), row.perPackage);
        EXPECT_LE(machine.leavesRead.size(), row.leaves);
        machine.leavesRead.clear();
        EXPECT_EQ(kelCPUInfo::HasCMT(), row.multiThreading);
        EXPECT_LE(machine.leavesRead.size(), row.leaves);
    }
}

/// Registers as they were read from real processors and published (InstLatx64).
TEST_F(Machine, KnownProcessors_AnswerByTheirRegisters) {
    struct Row {
        const char* name;
        const char* vendor;
        std::uint32_t highest, ebx1, edx1, highestExtended, ecx80000001, ecx80000008;
        int perPackage;
        bool multiThreading;
    };
    const Row rows[] = {
        {"Pentium III 1266", "GenuineIntel", 2, 0x00000004, 0x0383fbff, 0x80000004, 0, 0, 1, false},
        {"Celeron 2.00", "GenuineIntel", 2, 0x0001080a, 0xbfebfbff, 0x80000004, 0, 0, 1, true},
        {"Pentium M 1.60", "GenuineIntel", 2, 0x00000816, 0xafe9fbff, 0x80000008, 0, 0, 1, false},
        {"Pentium 4 3.20", "GenuineIntel", 5, 0x00020800, 0xbfebfbff, 0x80000008, 0, 0, 2, true},
        {"Core 2 T5600", "GenuineIntel", 10, 0x00020800, 0xbfebfbff, 0x80000008, 0x1, 0, 2, true},
        {"Core i7-2600", "GenuineIntel", 13, 0x00100800, 0xbfebfbff, 0x80000008, 0x1, 0, 16, true},
        {"Xeon E5-2699 v3", "GenuineIntel", 15, 0x00400800, 0xbfebfbff, 0x80000008, 0x21, 0, 64,
         true},
        {"Athlon 64 2800+", "AuthenticAMD", 1, 0x00000800, 0x078bfbff, 0x80000018, 0, 0, 1, false},
        {"Athlon 64 X2 3800+", "AuthenticAMD", 1, 0x00020800, 0x178bfbff, 0x80000018, 0x3, 0x1, 2,
         false},
        {"Phenom II X6 1055T", "AuthenticAMD", 6, 0x00060800, 0x178bfbff, 0x8000001b, 0x37ff,
         0x3005, 6, false},
        {"Opteron 6274", "AuthenticAMD", 13, 0x00100800, 0x178bfbff, 0x8000001e, 0x01c9bfff, 0x500f,
         16, false},
        {"EPYC 7551P", "AuthenticAMD", 13, 0x00400800, 0x178bfbff, 0x8000001f, 0x35c233ff, 0x603f,
         64, false},
        {"Ryzen 9 5900X", "AuthenticAMD", 16, 0x00180800, 0x178bfbff, 0x80000023, 0x75c237ff,
         0x5017, 24, false},
        {"VIA Nano L3050", "CentaurHauls", 10, 0x00010800, 0xafc9fbff, 0x80000008, 0x1, 0, 1,
         false},
        {"Hygon C86 3250", "HygonGenuine", 13, 0x00100800, 0x178bfbff, 0x8000001f, 0x35c233ff,
         0x400f, 1, false},
    };
    for (const Row& row : rows) {
        machine.leaves = {{0, Leaf0(row.vendor, row.highest)},
                          {1, {0, row.ebx1, 0, row.edx1}},
                          {0x80000000, {row.highestExtended, 0, 0, 0}},
                          {0x80000001, {0, 0, row.ecx80000001, 0}},
                          {0x80000008, {0, 0, row.ecx80000008, 0}}};
        EXPECT_EQ(kelCPUInfo::GetLogicalProcsPerPackage(), row.perPackage) << row.name;
        EXPECT_EQ(kelCPUInfo::HasCMT(), row.multiThreading) << row.name;
    }
}

TEST_F(Machine, ASegmentsName_IsRemovedOnceAtMost) {
    const zukel::test::TemporaryDirectory directory;
    const std::string name = directory / "segment";
    struct Row {
        const char* calls;
        std::function<void(kelSharedMemory&)> life;
    };
    const Row rows[] = {
        {"create remove unmap ", [&](auto& memory) { memory.Create(8, name); }},
        {"create remove unmap ", [&](auto& memory) { memory.Create(8, name), memory.Destroy(); }},
        {"create remove unmap ", [&](auto& memory) { memory.Create(8, name), memory.Detach(); }},
        {"create unmap ", [&](auto& memory) { memory.Create(8, name), memory.Remove(name); }},
        {"create remove unmap ", [&](auto& memory) { memory.Create(8, name), memory.Remove("x"); }},
        {"attach unmap ", [&](auto& memory) { memory.Attach(name); }},
        {"attach remove unmap ", [&](auto& memory) { memory.Attach(name), memory.Destroy(); }},
        {"attach unmap remove ", [&](auto& memory) { memory.Attach(name), memory.Detach(); }},
        {"attach unmap ", [&](auto& memory) { memory.Attach(name), memory.Remove(name); }},
    };
    const zukel::Pool pool;
    for (const Row& row : rows) {
        machine.segmentCalls.clear();
        apr_shm_t* standing = nullptr;  // for `Remove`, which goes to the runtime
        ASSERT_EQ(apr_shm_create(&standing, 8, name.c_str(), pool.Get()), APR_SUCCESS);
        {
            kelSharedMemory memory;
            row.life(memory);
        }
        EXPECT_EQ(machine.segmentCalls, row.calls);
        apr_shm_destroy(standing);
    }
}

TEST_F(Machine, ProcessorsAndDisk_AreThePlatformsOwn) {
    machine.processors = 3;
    EXPECT_EQ(kelCPUInfo::GetNumProcessors(), 3);
    zuDiskInfo info;
    info.freeBytes = 7;
    EXPECT_FALSE(kelSystem::GetFreeDiskSpace("/", info));
    EXPECT_EQ(info.freeBytes, 7U);
    machine.disk = {1, 2};
    machine.hasDisk = true;
    EXPECT_TRUE(kelSystem::GetFreeDiskSpace("/", info));
    EXPECT_EQ(info.freeBytes, 1U);
    EXPECT_EQ(info.totalBytes, 2U);
}

}  // namespace
