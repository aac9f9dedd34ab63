#include "kelSystem.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "kelCPUInfo.h"
#include "support/TemporaryDirectory.h"

using zukel::test::TemporaryDirectory;

namespace {

TEST(kelSystem, NewMemoryInfo_IsAllOnes) {
    unsigned long long expected[9];
    std::fill(std::begin(expected), std::end(expected), ~0ULL);
    kelMemoryInfo info;
    kelSystem::GetMemoryDetails(info);
    EXPECT_NE(std::memcmp(&info, expected, sizeof info), 0);
    info = kelMemoryInfo();
    EXPECT_EQ(std::memcmp(&info, expected, sizeof info), 0);
}

TEST(kelSystem, MemoryDetails_AreThoseOfTheMachine) {
    unsigned long long machine = 0;
    std::string word;
    for (std::ifstream figures("/proc/meminfo"); word != "MemTotal:" && figures >> word;) {
        figures >> machine;
    }
    kelMemoryInfo info;
    kelSystem::GetMemoryDetails(info);
    EXPECT_LE(info.totalPhysical, machine);
    EXPECT_GT(info.availablePhysical, 1024U);
    EXPECT_EQ(info.usedPhysical, info.totalPhysical - info.availablePhysical);
    EXPECT_EQ(info.usedVirtual, info.totalVirtual - info.availableVirtual);
    EXPECT_EQ(info.usedPaging, info.totalPaging - info.availablePaging);
    EXPECT_GT(info.usedVirtual, 1024U);
    EXPECT_EQ(kelSystem::TotalPhysicalMemory(), info.totalPhysical);
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), info.totalVirtual);
    EXPECT_EQ(kelSystem::TotalPagingMemory(), info.totalPaging);
}

TEST(kelSystem, AddressSpace_IsThatOfTheProcessUnderItsLimit) {
    const unsigned long long limit = kelSystem::UsedVirtualMemory() + (1U << 20U);  // 1 GiB above
    const pid_t child = fork();
    if (child == 0) {
        const rlimit space{limit << 10U, limit << 10U};
        setrlimit(RLIMIT_AS, &space);
        kelMemoryInfo info;
        kelSystem::GetMemoryDetails(info);
        _exit(info.totalVirtual == limit && info.availableVirtual <= (1U << 20U) + 1024 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(kelSystem, FreeDiskSpace_IsThatOfTheFileSystemInBytes) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory / "n\xc3\xa4me \xff");
    for (const std::string& path :
         {directory.Path(), directory / "n\xc3\xa4me \xff", std::string("."), std::string("/")}) {
        zuDiskInfo info;
        ASSERT_TRUE(kelSystem::GetFreeDiskSpace(path.c_str(), info)) << path;
        const auto space = std::filesystem::space(path);
        EXPECT_EQ(info.totalBytes, space.capacity);
        EXPECT_NEAR(static_cast<double>(info.freeBytes), static_cast<double>(space.available), 1e9);
        EXPECT_GT(info.totalBytes, info.freeBytes);
        zuDiskInfo assigned;
        assigned = info;
        EXPECT_EQ(assigned.totalBytes, info.totalBytes);
    }
}

TEST(kelSystem, FreeDiskSpace_OfNoPath_LeavesTheFiguresAlone) {
    const TemporaryDirectory directory;
    for (const std::string& path :
         {std::string(), directory / "missing", directory / "\xc3", directory / "\xf0\x9f\x98",
          directory / std::string(10000, 'x')}) {
        zuDiskInfo info;
        info.freeBytes = 1;
        info.totalBytes = 2;
        EXPECT_FALSE(kelSystem::GetFreeDiskSpace(path.c_str(), info)) << path.size();
        EXPECT_EQ(info.freeBytes, 1U);
        EXPECT_EQ(info.totalBytes, 2U);
    }
}

TEST(kelCPUInfo, OfThisMachine_AgreesWithTheKernel) {
    EXPECT_EQ(kelCPUInfo::GetNumProcessors(), sysconf(_SC_NPROCESSORS_ONLN));
    std::string text;
    std::getline(std::ifstream("/proc/cpuinfo"), text, '\0');
    const std::size_t vendor = text.find("vendor_id\t: ");
    EXPECT_EQ(kelCPUInfo::GetCPUID(),
              vendor == std::string::npos ? "" : text.substr(vendor + 12, 12));
}

}  // namespace
