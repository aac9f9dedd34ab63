// The classes without much state. Which symbols are exported is in exported-symbols.txt, and the
// layouts are in abi/.

#include <cstdarg>
#include <cstdint>

#include "support/Testing.h"

using namespace zukel::test;

TEST(kelSystemTest, Figures_AreThoseOfTheMachine) {
    EXPECT_EQ(kelProcess::GetCurrentProcessPid(), getpid());
    EXPECT_GT(kelSystem::AvailablePhysicalMemory(), 1024U);
    EXPECT_EQ(unsigned(kelCPUInfo::GetNumProcessors()), std::thread::hardware_concurrency());
#if defined(__x86_64__) || defined(__i386__)
    EXPECT_THAT(ReadWhole("/proc/cpuinfo"),
                testing::HasSubstr(": " + kelCPUInfo::GetCPUID() + "\n"));
#else
    EXPECT_EQ(kelCPUInfo::GetCPUID(), "");
    EXPECT_EQ(kelCPUInfo::GetLogicalProcsPerPackage(), 1);
#endif
    EXPECT_LE(kelCPUInfo::HasCMT(), kelCPUInfo::GetLogicalProcsPerPackage() > 1);
    for (const std::string path : {".", "/", ZUKEL_TEST_CHILD, "", "/missing", "/\xc3"}) {
        SCOPED_TRACE(path);
        zuDiskInfo disk{};
        // The standard library of Windows takes the parent for what is missing, and throws for two.
        const bool exists = path == "." || path == "/" || path == ZUKEL_TEST_CHILD;
        const auto expected = exists ? fs::space(path) : fs::space_info{};
        EXPECT_EQ(kelSystem::GetFreeDiskSpace(path.c_str(), disk), exists);
        EXPECT_EQ(disk.totalBytes, expected.capacity);
        EXPECT_NEAR(double(disk.freeBytes), double(expected.available), 1e9);
    }
}

/// The result and the text of a buffer of this size.
static std::string Format(int size, std::string format, ...) {
    std::string text(static_cast<std::size_t>(size) + 1, '#');
    va_list arguments;
    va_start(arguments, format);
    char* const buffer = size > 0 ? text.data() : nullptr;
    const int result = kelString::vsnprintf(buffer, size, format.data(), arguments);
    va_end(arguments);
    EXPECT_EQ(text.back(), '#') << "behind the buffer of " << format;
    return std::to_string(result) + " " + (size > 0 ? text.c_str() : "");
}

TEST(kelStringTest, vsnprintf_CutsAndTakesTheLengthsOfTheCLibrary) {
    constexpr long long kMost = INT64_MAX;
    constexpr unsigned long long kAll = UINT64_MAX;
    const std::size_t size = SIZE_MAX;
    const std::intmax_t least = INTMAX_MIN + 1;
    EXPECT_EQ(Format(4, "%s%d", "0123456", 789), "3 012");
    EXPECT_EQ(Format(11, "%s%d", "0123456", 789), "10 0123456789");
    EXPECT_EQ(Format(0, "%s%d", "1234", 5), "5 ");
    EXPECT_EQ(Format(99, "%lld|%d", kMost, 5), "21 9223372036854775807|5");
    EXPECT_EQ(Format(99, "%llu|%qd", kAll, kMost), "40 18446744073709551615|9223372036854775807");
    const std::string sizes = std::to_string(size) + "|7   |";
    EXPECT_EQ(Format(99, "%zu|%-4zd|", size, std::size_t{7}),
              std::to_string(sizes.size()) + " " + sizes);
    EXPECT_EQ(Format(99, "%jd|%s", least, "x"), "22 -9223372036854775807|x");
    EXPECT_EQ(Format(99, "%08llx|%*lld", kAll >> 4U, 4, 3LL), "20 fffffffffffffff|   3");
    EXPECT_EQ(Format(99, "%%lld|%%%lld%%|%ld", 1LL, 2L), "10 %lld|%1%|2");
    EXPECT_EQ(Format(99, "%I64d", 7LL), kOnWindows ? "1 7" : "5 %I64d");
    for (const std::size_t length : {252U, 253U, 300U}) {  // of the format, less four
        const std::string longer(length, 'y');
        EXPECT_EQ(Format(400, longer + "%zu", std::size_t{1}),
                  std::to_string(length + 1) + " " + longer + "1");
    }
    EXPECT_EQ(Format(99, "%lld %", 1LL), Format(99, "%qd %", 1LL)) << "an end in the middle";
}

TEST(kelAtomicTest, IncrementAndDecrement_WrapBothWays) {
    kelAtomic counter, shared;
    shared = counter;
    EXPECT_EQ(counter.Decrement(), -1);
    EXPECT_EQ(shared.Increment(), UINT32_MAX) << "the value before";
    EXPECT_EQ(counter.Increment(), 0U);
    EXPECT_EQ(shared.Decrement(), 0) << "the value after";
}

/// What is assigned without effect, and what does nothing until something is derived from it.
TEST(InterfaceTest, SmallClasses_AreMadeAndAssigned) {
    struct Thread : kelThread {
        using kelThread::kelThread;
        void ThreadBody() override {}
    };
    kelBarrier barrier(nullptr, 2);
    (barrier = kelBarrier(0)).Block(1);  // returns at once
    barrier.Reset();
    kelMutex(nullptr) = kelMutex(), kelCondition(nullptr) = kelCondition();
    Thread(nullptr) = Thread();
}
