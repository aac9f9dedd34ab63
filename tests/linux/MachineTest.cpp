// The figures of the machine on Linux, beside those that the system tells.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

/// The kilobytes of a field of `/proc/meminfo`.
unsigned long long Field(const std::string& name) {
    const std::string text = "\n" + ReadWhole("/proc/meminfo");
    return std::stoull(text.substr(text.find("\n" + name + ":") + name.size() + 2));
}

/// Whether some control group limits memory to this many kilobytes.
bool IsLimit(unsigned long long kilobytes) {
    constexpr auto kSkip = fs::directory_options::skip_permission_denied;
    for (const auto& entry : fs::recursive_directory_iterator("/sys/fs/cgroup", kSkip)) {
        const auto name = entry.path().filename();
        unsigned long long limit = 0;
        if ((name == "memory.max" || name == "memory.limit_in_bytes") &&
            std::ifstream(entry.path()) >> limit && limit / 1024 == kilobytes) {
            return true;
        }
    }
    return false;
}

kelMemoryInfo Memory() {
    kelMemoryInfo info;
    kelSystem::GetMemoryDetails(info);
    return info;
}

TEST(Figures, MemoryAndPaging_AreThoseOfTheSystem) {
    const kelMemoryInfo info = Memory();
    const bool limited = info.totalPhysical != Field("MemTotal");
    EXPECT_TRUE(!limited || IsLimit(info.totalPhysical)) << info.totalPhysical;
    EXPECT_EQ(info.totalPaging, Field("CommitLimit"));
    const struct {
        const char* what;
        unsigned long long kelMemoryInfo::*figure;
        std::function<unsigned long long()> expected;
    } rows[] = {{"available physical", &kelMemoryInfo::availablePhysical,
                 [] { return Field("MemAvailable"); }},
                {"used paging", &kelMemoryInfo::usedPaging, [] { return Field("Committed_AS"); }},
                {"available paging", &kelMemoryInfo::availablePaging,
                 [] { return Field("CommitLimit") - Field("Committed_AS"); }}};
    for (const auto& [what, figure, expected] : rows) {
        if (limited && figure == &kelMemoryInfo::availablePhysical) {
            continue;
        }
        unsigned long long before = 0, given = 0, after = 0;  // the figure moves meanwhile
        EXPECT_TRUE(Eventually([&, expected = expected, figure = figure] {
            before = expected(), given = Memory().*figure, after = expected();
            return std::min(before, after) <= given && given <= std::max(before, after);
        })) << what
            << ": " << given << " between " << before << " and " << after;
    }
}

TEST(Figures, Disks_HaveTheRoomThatTheSystemTells) {
    for (const std::string path : {"/", "/dev/shm"}) {
        zuDiskInfo disk{};
        fs::space_info before{}, after{};  // the figures move meanwhile
        EXPECT_TRUE(Eventually([&] {
            before = fs::space(path);
            const bool told = kelSystem::GetFreeDiskSpace(path.c_str(), disk);
            after = fs::space(path);
            return told && before.available == disk.freeBytes && disk.freeBytes == after.available;
        })) << path
            << ": " << disk.freeBytes << " and not " << after.available;
        EXPECT_EQ(disk.totalBytes, after.capacity) << path;
    }
}

/// What the processor offers is on a 64-bit PC.
TEST(Figures, VirtualMemory_IsWhatTheProcessMayHave) {
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit limit{rlim_t{1} << 42U, RLIM_INFINITY};
    EXPECT_EQ(Memory().totalVirtual, 1ULL << 37U);
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    EXPECT_EQ(Memory().totalVirtual, 1ULL << 32U);
    const std::string pages = ReadWhole("/proc/self/statm");
    const auto used = std::stoull(pages) * static_cast<unsigned long long>(getpagesize()) / 1024;
    EXPECT_NEAR(double(Memory().usedVirtual), double(used), 1024.0);
    EXPECT_NEAR(double(Memory().availableVirtual), double((1ULL << 32U) - used), 1024.0);
#else
    GTEST_SKIP() << "the processor is another one, or a sanitizer takes the address space";
#endif
}

}  // namespace
