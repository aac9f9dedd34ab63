// The public interface, held at compile time. Which symbols are exported is in
// exported-symbols.txt; this file holds what they do not show: the values of statuses, and what can
// be copied and derived from. Below, the small classes at work.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <type_traits>

#include "zukel.h"

namespace {

template <typename Class, bool kCopied, std::size_t kSize, bool kDerivable = false>
constexpr bool kIs = kCopied == std::is_copy_constructible_v<Class>&& kDerivable ==
                         std::has_virtual_destructor_v<Class>&& std::is_copy_assignable_v<Class> &&
                     sizeof(Class) == kSize;

static_assert(kelStatusOk == 0 && kelStatusFailed == 20000 && kelStatusNotFound == 20001 &&
              kelStatusAccessDenied == 20002 && kelStatusNotOpen == 20003 &&
              kelStatusReadFailed == 20004 && kelStatusNoVariable == 20005 &&
              kelStatusNoFileInfo == 20006 && kelStatusEmptyPath == 20007 &&
              kelStatusEmptySource == 20008 && kelStatusEmptyTarget == 20009 &&
              kelStatusNoUser == 20012);
static_assert(kIs<kelSharedMemory, true, 16, true> && kIs<kelTime, true, 8> &&
              kIs<kelSystem, false, 1>);
static_assert(kIs<kelMemoryInfo, true, 72> && kIs<zuDiskInfo, true, 16> &&
              kIs<kelAtomic, false, 8>);
static_assert(kIs<kelCPUInfo, false, 1> && kIs<kelString, false, 1> &&
              kIs<kelMutex, false, 16, true>);
static_assert(kIs<kelBarrier, false, 16, true> && kIs<kelCondition, false, 16, true>);
static_assert(kIs<kelThread, false, 16, true> && std::is_abstract_v<kelThread>);

TEST(kelSystem, Figures_AreThoseOfTheMachine) {
    std::string text;
    std::getline(std::ifstream("/proc/meminfo"), text, '\0');
    kelMemoryInfo info;
    kelSystem::GetMemoryDetails(info);
    EXPECT_LE(info.totalPhysical, std::stoull(text.substr(text.find("MemTotal:") + 9)));
    EXPECT_GT(info.availablePhysical, 1024U);
    EXPECT_EQ(kelCPUInfo::GetNumProcessors(), sysconf(_SC_NPROCESSORS_ONLN));
    for (const char* const path : {".", "/", "", "/missing", "/\xc3"}) {
        zuDiskInfo disk;
        disk.freeBytes = disk.totalBytes = 1;
        std::error_code error;
        const auto space = std::filesystem::space(path, error);
        EXPECT_EQ(kelSystem::GetFreeDiskSpace(path, disk), !error) << path;
        EXPECT_EQ(disk.totalBytes, error ? 1 : space.capacity);
        EXPECT_EQ(disk.freeBytes < disk.totalBytes, !error);
    }
}

TEST(kelAtomic, Threads_LoseNoCountAndItWrapsBothWays) {
    kelAtomic counter, alias;
    alias = counter;
    const auto count = [](kelAtomic& each) {
        for (int round = 0; round < 20000; ++round) {
            each.Increment();
        }
    };
    std::thread beside(count, std::ref(alias));
    count(counter);
    beside.join();
    counter = kelAtomic();
    EXPECT_EQ(alias.Increment(), 40000U);
    EXPECT_EQ(counter.Decrement(), -1);
    EXPECT_EQ(counter.Increment(), 0xFFFFFFFFU);
}

int Print(char* buffer, int size, std::string format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = kelString::vsnprintf(buffer, size, format.data(), arguments);
    va_end(arguments);
    return result;
}

TEST(kelString, vsnprintf_CutsAndTells) {
    char buffer[] = "##############";
    EXPECT_EQ(Print(buffer, 4, "%s%d", "0123456", 789), 3);
    EXPECT_EQ(std::string(buffer, 5), std::string("012\0#", 5));
    EXPECT_EQ(Print(buffer, 11, "%s%d", "0123456", 789), 10);
    EXPECT_STREQ(buffer, "0123456789");
    EXPECT_EQ(Print(nullptr, 0, "%d", 12345), 5);
}

TEST(kelInterfaces, TheClassesThemselvesDoNothing) {
    kelMutex mutex(nullptr);
    EXPECT_EQ(mutex.Lock(), kelStatusFailed);
    EXPECT_EQ(mutex.Trylock(), kelStatusFailed);
    EXPECT_EQ(mutex.Unlock(), kelStatusFailed);
}

}  // namespace
