// The public interface, held at compile time. Which symbols are exported is in
// exported-symbols.txt; this file holds what they do not show: the values of statuses, and what can
// be copied and derived from. Below, the small classes at work.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <type_traits>

#include "support/System.h"
#include "zukel.h"

namespace {

template <typename Class>
constexpr bool kShared = std::is_copy_constructible_v<Class>&& std::is_copy_assignable_v<Class>;
template <typename Class>
constexpr bool kAssigned = !std::is_copy_constructible_v<Class> && std::is_copy_assignable_v<Class>;
template <typename Class>
constexpr bool kBase = std::has_virtual_destructor_v<Class> && sizeof(Class) == 2 * sizeof(void*);

static_assert(kelStatusOk == 0 && kelStatusFailed == 20000 && kelStatusNotFound == 20001 &&
              kelStatusAccessDenied == 20002 && kelStatusNotOpen == 20003 &&
              kelStatusReadFailed == 20004 && kelStatusNoVariable == 20005 &&
              kelStatusNoFileInfo == 20006 && kelStatusEmptyPath == 20007 &&
              kelStatusEmptySource == 20008 && kelStatusEmptyTarget == 20009 &&
              kelStatusNoUser == 20012);
static_assert(kShared<kelSharedMemory> && kShared<kelTime> && kShared<kelMemoryInfo>);
static_assert(kAssigned<kelSystem> && kAssigned<kelCPUInfo> && kAssigned<kelAtomic>);
static_assert(kAssigned<kelString> && kAssigned<kelMutex> && kAssigned<kelBarrier>);
static_assert(kBase<kelSharedMemory> && kBase<kelMutex> && kBase<kelBarrier>);
static_assert(kBase<kelCondition> && kBase<kelThread> && std::is_abstract_v<kelThread>);
static_assert(sizeof(kelTime) == sizeof(void*) && sizeof(kelMemoryInfo) == 72);

TEST(kelSystem, Figures_AreThoseOfTheMachine) {
    EXPECT_EQ(kelProcess::GetCurrentProcessPid(), getpid());
    EXPECT_GT(kelSystem::AvailablePhysicalMemory(), 1024U);
    EXPECT_LE(kelSystem::TotalPhysicalMemory() << 10U, zukel::test::MachineMemory());
    EXPECT_EQ(kelCPUInfo::GetNumProcessors(), zukel::test::Processors());
    std::ifstream facts("/proc/cpuinfo");
    const std::string all{std::istreambuf_iterator<char>(facts), {}};
    EXPECT_NE(all.find(": " + kelCPUInfo::GetCPUID() + "\n"), std::string::npos);
    EXPECT_GE(kelCPUInfo::GetLogicalProcsPerPackage(), 1);
    EXPECT_LE(kelCPUInfo::HasCMT(), kelCPUInfo::GetLogicalProcsPerPackage() > 1);
    for (const char* const path : {".", "/", "", "/missing", "/\xc3"}) {
        zuDiskInfo disk;
        disk.freeBytes = disk.totalBytes = 1;
        std::error_code error;
        // The standard library of Windows takes the parent for what is missing, and throws for two.
        const bool exists = path == std::string(".") || path == std::string("/");
        const auto space = std::filesystem::space(exists ? path : "/missing", error);
        EXPECT_EQ(kelSystem::GetFreeDiskSpace(path, disk), exists) << path;
        EXPECT_EQ(disk.totalBytes, exists ? space.capacity : 1);
        EXPECT_EQ(disk.freeBytes < disk.totalBytes, exists);
        zuDiskInfo copy;
        copy = disk;
        EXPECT_EQ(copy.freeBytes, disk.freeBytes);
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

struct Thread : kelThread {
    using kelThread::kelThread;
    void ThreadBody() override {}
};

template <typename Class>
void Assign() {
    Class one, other;
    EXPECT_EQ(&(one = other), &one);
    EXPECT_EQ(&(one = Class()), &one);
}

TEST(Interface, ClassesOfStaticOperations_AreAssignedWithoutEffect) {
    Assign<kelSystem>();
    Assign<kelCPUInfo>();
    Assign<kelString>();
    Assign<zuDiskInfo>();
    Assign<kelMemoryInfo>();
}

TEST(kelInterfaces, TheClassesThemselvesDoNothing) {
    kelMutex mutex(nullptr);
    mutex = kelMutex();
    EXPECT_EQ(mutex.Lock(), kelStatusFailed);
    EXPECT_EQ(mutex.Trylock(), kelStatusFailed);
    EXPECT_EQ(mutex.Unlock(), kelStatusFailed);
    kelBarrier barrier(nullptr, 2);
    barrier = kelBarrier(2);
    barrier.Block(1);  // returns at once
    barrier.Reset();
    kelCondition condition(nullptr);
    condition = kelCondition();
    Thread thread(nullptr);
    thread = Thread();
}

TEST(Interface, EveryFormThatTakesALibrary_IsThePlainOne) {
    kelLibrary library;
    EXPECT_EQ(kelFile(&library).Close(), kelStatusFailed);
    EXPECT_EQ(kelDirectory(&library).Close(), kelStatusNotOpen);
    EXPECT_EQ(kelDynamicObject(&library).UnloadLibrary(), kelStatusOk);
    EXPECT_TRUE(kelSharedMemory(&library).IsValid());
    kelFileInfo info("/");
    info.SetLibrary(&library);
    EXPECT_EQ(info.GetFilePath() + info.GetPath(), "//");
    EXPECT_EQ(info.GetUserId() + info.GetGroupId(), 0);
}

}  // namespace
