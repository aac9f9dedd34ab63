// What is read of the machine, where the inner functions can be reached.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>

#include "kelProcess.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "platform/Machine.h"
#include "platform/linux/MemoryFigures.h"
#include "support/ChildRunner.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"
#include "system/ProcessorLeaves.h"
#include "zubase/Utf16.h"

using namespace zukel::platform;
using namespace zukel::test;
using Memory = kelSharedMemory;

namespace {

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
        std::map<std::uint32_t, CpuRegisters> leaves = {
            {0, {row.highest, vendor[0], vendor[2], vendor[1]}},
            {1, {0, row.ebx1, 0, row.edx1}},
            {0x80000000, {row.highestExtended, 0, 0, 0}},
            {0x80000001, {0, 0, row.ecx80000001, 0}},
            {0x80000008, {0, 0, row.ecx80000008, 0}}};
        const auto read = [&](std::uint32_t leaf) { return leaves[leaf]; };
        EXPECT_EQ(zukel::VendorText(leaves[0]), row.vendor);
        EXPECT_EQ(zukel::LogicalProcessors(read), row.perPackage) << &row - rows;
        EXPECT_EQ(zukel::HasMultiThreading(read), row.multiThreading) << &row - rows;
    }
}

// The texts from which figures are read, and UTF-8 from anywhere: none of them is to be trusted.
TEST(MachineTexts, Groups_AreThoseThatCountMemoryAndTheirLimitsHoldTogether) {
    const char* const groups[][3] = {
        {"4:memory:/a/b\n0::/\n", "/a/b", ""},
        {"0::/user.slice/x:y.scope\n", "none", "/user.slice/x:y.scope"},
        {"9:name=systemd:/s\n4:cpu,memory:/c\n0::/u", "/c", "/u"},
        {"3:memoryx:/a\n1:name=memory:/c\n", "none", "none"},
        {"4:memory\n:::\n::\n0:\n", "none", "none"},
    };
    for (const auto& [text, one, two] : groups) {
        EXPECT_EQ(GroupPathOf(text, GroupKind::One).value_or("none"), one) << text;
        EXPECT_EQ(GroupPathOf(text, GroupKind::Two).value_or("none"), two) << text;
    }
    PhysicalMemory memory{1000, 800, false};
    ApplyLimit(memory, 500, 100, 40);
    EXPECT_EQ(memory.total + memory.available, 500U + 440U);
    ApplyLimit(memory, 500, 100, kUnknown);
    EXPECT_EQ(memory.total + memory.available, 500U + 400U);
    ApplyLimit(memory, 600, 590, 0);
    EXPECT_EQ(memory.total + memory.available, 500U + 10U) << "the group above is full";
    ApplyLimit(memory, 500, 700, 0);
    EXPECT_EQ(memory.available, 0U);
    ApplyLimit(memory, 500, kUnknown, 0);
    EXPECT_EQ(memory.available, kUnknown);
    constexpr auto text = "XMemTotal: 2\nMemTotal:   3 kB\nBig: 18014398509481984";
    EXPECT_EQ(FieldOf(text, "MemTotal", 1024), 3072U);
    EXPECT_EQ(FieldOf(text, "Big", 1024), kUnknown);
    EXPECT_EQ(FieldOf("MemTotals: 1\nMemTotal", "MemTotal", 1), kUnknown);
    EXPECT_EQ(FieldOf("MemTotal: x", "MemTotal", 1), kUnknown);
    EXPECT_EQ(FieldOf("Number: 18446744073709551616", "Number", 1), kUnknown);
}

TEST(MachineTexts, MalformedUtf8_IsReplacedAndNeverReadPastItsEnd) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80z", u"a\u00e4\u20ac\U0001f600z"},
        {"\xf0\x9f\x98", u"\ufffd"},              // ends in the middle
        {"\xf0\x9f\xc3\xa4", u"\ufffd\u00e4"},    // the next character is not swallowed
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"},  // a surrogate
        {"\xed\x9f\xbf\xf4\x8f\xbf\xbf", u"\ud7ff\U0010ffff"},
        {"\xe0\x9f\xbf", u"\ufffd\ufffd\ufffd"},            // longer than need be
        {"\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},  // beyond the last character
    };
    for (const auto& [text, expected] : rows) {
        const std::vector<char> bytes(text.begin(), text.end());  // exactly as large as it is
        std::vector<char16_t> units(zukel::Utf16Length(bytes.data(), bytes.size()));
        zukel::ConvertToUtf16(bytes.data(), bytes.size(), units.data());
        EXPECT_EQ(std::u16string(units.begin(), units.end()), expected)
            << testing::PrintToString(text);
    }
}

TEST(SharedMemory, Segments_AreTheirOwnersAloneAndHalfMadeOnesAreRefused) {
    const TemporaryDirectory directory;
    Memory memory;
    int signals = 1;  // that come in between
    const Guard reserved = AtCall("posix_fallocate", [&] { return signals-- > 0 ? EINTR : 0; });
    const mode_t former = umask(0777);
    EXPECT_EQ(UnderFaults([&] { return memory.Create(100, directory / "segment"); }), kelStatusOk);
    umask(former);
    std::string path;  // that is mapped at its address
    std::ifstream maps("/proc/self/maps");
    const auto base = reinterpret_cast<std::uintptr_t>(memory.GetBaseAddress()) - 8;
    for (std::string line; std::getline(maps, line);) {
        path = std::stoull(line, nullptr, 16) == base ? line.substr(line.find('/')) : path;
    }
    struct stat facts {};
    ASSERT_EQ(stat(path.c_str(), &facts), 0) << path;
    EXPECT_EQ(facts.st_mode & 07777U, 0600U);
    const std::string zero(7, '\0'), ones(7, '\xff');
    for (const std::string& content : {std::string(), std::string(108, '\0'), zero, '\x7' + zero,
                                       'm' + zero + ones, '\xff' + ones + ones}) {
        std::filesystem::remove(path);
        std::ofstream(path, std::ios::binary) << content;
        EXPECT_EQ(Memory().Attach(directory / "segment"), kelStatusFailed) << content;
    }
    EXPECT_EQ(Memory().Remove(directory / "segment"), kelStatusOk);
}

TEST(kelProcess, WithoutProcessDescriptors_EverythingWorksByNumbers) {
    for (const char* lacks : {"syscall", "fstatfs"}) {  // as older systems and sandboxes do
        InChild([&] {
            const Guard lacking = AtCall(lacks, [] { return ENOSYS; });
            const Guard all = Counting(true);
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, true), kelStatusOk);
            EXPECT_TRUE(process.IsRunning() && kelProcess::IsRunning(process.GetPid()));
            EXPECT_EQ(process.Kill(), kelStatusOk);
            EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
            EXPECT_EQ(kelProcess::NativeKill(process.GetPid()), kelStatusOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(process.Kill(), kelStatusFailed);
            EXPECT_TRUE(kelProcess::IsRunning(kelProcess::GetCurrentProcessPid()));
            EXPECT_TRUE(AllCollected());
        });
    }
}

TEST(kelProcess, AScriptWithoutAnInterpreter_IsFoundAlongThePathAndRunByTheShell) {
    const TemporaryDirectory directory;
    const std::string script = directory.Write("script", "printf '%s|' \"$@\" >out");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    std::filesystem::create_directory(directory / "bin");
    directory.Write("bin/script", "may not be run");
    const std::string path = getenv("PATH");
    for (const std::string& search : {"/missing:" + directory.Path(), "bin::" + path}) {
        setenv("PATH", search.c_str(), 1);
        kelProcess process;
        EXPECT_EQ(process.Start("script", {"", "a b"}, directory.Path(), false), kelStatusOk);
        setenv("PATH", path.c_str(), 1);
        EXPECT_TRUE(Ends(process));
        EXPECT_EQ(ReadWhole(directory / "out"), "|a b|") << search;
        std::filesystem::remove(directory / "out");
    }
}

TEST(kelProcess, Kill_GoesByADescriptorThatNeverMeansAnotherProcess) {
    int byNumber = 0;
    kelProcess process;
    EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
    const Guard counted = AtCall("kill", [&] { return ++byNumber, 0; });
    EXPECT_EQ(UnderFaults([&] { return process.Kill(); }), kelStatusOk);
    EXPECT_EQ(byNumber, 0);
}

TEST(kelProcess, NumbersThatMeanGroups_NeverReachTheSystem) {
    const Guard all = Fault(FaultSource::System, 1, FaultReach::FromThenOn);
    for (const int pid : {0, -1, -2, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(UnderFaults([&] { return kelProcess::NativeKill(pid); }), kelStatusFailed) << pid;
        EXPECT_FALSE(UnderFaults([&] { return kelProcess::IsRunning(pid); })) << pid;
    }
    EXPECT_FALSE(FaultStruck());
}

TEST(Machine, ALimitOfTheAddressSpace_IsTheTotal) {
    InChild([] {
        const rlimit limit{rlim_t{1} << 45U, RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
        EXPECT_EQ(kelSystem::TotalVirtualMemory(), 1ULL << 35U);
    });
}

}  // namespace
