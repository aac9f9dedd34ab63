// The values of statuses, and the small classes at work. Which symbols are exported is in
// exported-symbols.txt, and the layouts are in abi/.

#include "support/Testing.h"

using namespace zukel::test;

namespace {

static_assert(kOk == 0 && kFailed == 20000 && kelStatusNotFound == 20001 &&
              kelStatusAccessDenied == 20002 && kelStatusNotOpen == 20003 &&
              kelStatusReadFailed == 20004 && kelStatusNoVariable == 20005 &&
              kelStatusNoFileInfo == 20006 && kelStatusEmptyPath == 20007 &&
              kelStatusEmptySource == 20008 && kelStatusEmptyTarget == 20009 &&
              kelStatusNoUser == 20012);

TEST(kelSystem, Figures_AreThoseOfTheMachine) {
    EXPECT_EQ(kelProcess::GetCurrentProcessPid(), getpid());
    EXPECT_GT(kelSystem::AvailablePhysicalMemory(), 1024U);
    EXPECT_EQ(kelCPUInfo::GetNumProcessors(),
              static_cast<int>(std::thread::hardware_concurrency()));
    EXPECT_NE(ReadWhole("/proc/cpuinfo").find(": " + kelCPUInfo::GetCPUID() + "\n"),
              std::string::npos);
    EXPECT_LE(kelCPUInfo::HasCMT(), kelCPUInfo::GetLogicalProcsPerPackage() > 1);
    for (const std::string path : {".", "/", "", "/missing", "/\xc3"}) {
        zuDiskInfo disk;
        disk.freeBytes = disk.totalBytes = 1;
        // The standard library of Windows takes the parent for what is missing, and throws for two.
        const bool exists = path == "." || path == "/";
        EXPECT_EQ(kelSystem::GetFreeDiskSpace(path.c_str(), disk), exists) << path;
        EXPECT_EQ(disk.totalBytes, exists ? fs::space(path).capacity : 1);
        EXPECT_EQ(disk.freeBytes < disk.totalBytes, exists);
    }
}

TEST(kelAtomic, Threads_LoseNoCountAndItWrapsBothWays) {
    kelAtomic counter, alias;
    alias = counter;
    InThreads([&](int number) {
        for (int round = 0; round < 5000; ++round) {
            (number % 2 == 0 ? counter : alias).Increment();
        }
    });
    counter = kelAtomic();
    EXPECT_EQ(alias.Increment(), 40000U);
    EXPECT_EQ(counter.Decrement(), -1);
    EXPECT_EQ(counter.Increment(), 0xFFFFFFFFU);
}

int Print(char* buffer, int size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = kelString::vsnprintf(buffer, size, std::string(format).data(), arguments);
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

/// What is assigned without effect, and what does nothing until something is derived from it.
TEST(Interface, SmallClasses_AreMadeAndAssigned) {
    struct Thread : kelThread {
        using kelThread::kelThread;
        void ThreadBody() override {}
    };
    kelMutex mutex(nullptr);
    mutex = kelMutex();
    EXPECT_TRUE(All(kFailed, {mutex.Lock(), mutex.Trylock(), mutex.Unlock()}));
    kelBarrier barrier(nullptr, 2);
    barrier = kelBarrier(0);
    barrier.Block(1);  // returns at once
    barrier.Reset();
    kelCondition(nullptr) = kelCondition(), Thread(nullptr) = Thread();
    std::tuple<kelSystem, kelCPUInfo, kelString, zuDiskInfo, kelMemoryInfo> one, other;
    one = other;
    one = std::move(other);
}

}  // namespace
