// The small classes at work. Which symbols are exported is in exported-symbols.txt, and the layouts
// are in abi/.

#include "support/Testing.h"

using namespace zukel::test;

namespace {

TEST(kelSystem, Figures_AreThoseOfTheMachine) {
    EXPECT_EQ(kelProcess::GetCurrentProcessPid(), getpid());
    EXPECT_GT(kelSystem::AvailablePhysicalMemory(), 1024U);
    EXPECT_EQ(unsigned(kelCPUInfo::GetNumProcessors()), std::thread::hardware_concurrency());
    const std::string vendor = ": " + kelCPUInfo::GetCPUID() + "\n";
    EXPECT_NE(ReadWhole("/proc/cpuinfo").find(vendor), std::string::npos);
    EXPECT_LE(kelCPUInfo::HasCMT(), kelCPUInfo::GetLogicalProcsPerPackage() > 1);
    for (const std::string path : {".", "/", "", "/missing", "/\xc3"}) {
        zuDiskInfo disk{};
        // The standard library of Windows takes the parent for what is missing, and throws for two.
        const bool exists = path == "." || path == "/";
        EXPECT_EQ(kelSystem::GetFreeDiskSpace(path.c_str(), disk), exists) << path;
        EXPECT_EQ(disk.totalBytes, exists ? fs::space(path).capacity : 0);
        EXPECT_EQ(disk.freeBytes < disk.totalBytes, exists);
    }
}

int Print(char* buffer, int size, char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = kelString::vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return result;
}

TEST(kelString, vsnprintf_CutsAndTells) {
    char buffer[] = "##############", format[] = "%s%d";
    EXPECT_TRUE(Print(buffer, 4, format, "0123456", 789) == 3 && !std::memcmp(buffer, "012\0#", 5));
    EXPECT_EQ(Print(buffer, 11, format, "0123456", 789), 10);
    EXPECT_EQ(Print(nullptr, 0, format, "1234", 5), 5);
    EXPECT_STREQ(buffer, "0123456789");
}

/// What is assigned without effect, and what does nothing until something is derived from it.
TEST(Interface, SmallClasses_AreMadeAndAssigned) {
    struct Thread : kelThread {
        using kelThread::kelThread;
        void ThreadBody() override {}
    };
    kelMutex mutex(nullptr);
    EXPECT_TRUE(All(kFailed, {mutex.Lock(), mutex.Trylock(), (mutex = kelMutex()).Unlock()}));
    kelBarrier barrier(nullptr, 2);
    (barrier = kelBarrier(0)).Block(1);  // returns at once
    barrier.Reset();
    kelCondition(nullptr) = kelCondition(), Thread(nullptr) = Thread();
    std::tuple<kelSystem, kelCPUInfo, kelString, zuDiskInfo, kelMemoryInfo> one, other;
    one = other;
    one = std::move(other);
}

}  // namespace
