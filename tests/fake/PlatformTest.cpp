// The portable side of what only Windows does, and of what the platform may answer.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <utility>

#include "kelFile.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "support/FakePlatform.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using namespace zukel::test;
using zukel::platform::kUnknown;
using zukel::platform::MemoryBytes;

namespace {

/// The road of `Open` in a process on a single-byte code page: an ASCII name stands for itself in
/// UTF-16, and the short path of every name is that of another file.
struct OpenRoad : testing::Test {
    /// Opens "long name" and gives what the file said, or the status when it did not open.
    int Opened() {
        kelFile file;
        char content = 0;
        const int status = UnderFaults([&] { return file.Open(name, kelFile::ModeRead); });
        EXPECT_EQ(file.GetFileName(), status == kelStatusOk ? name : "");
        return file.Read(content) == kelStatusOk ? content : status;
    }

    const TemporaryDirectory directory;
    const std::string name = directory.Write("long name", "L");
    UseFakePlatform platform;
};

TEST_F(OpenRoad, AllTestsPassed_LeadToTheShortNameElseToTheCallers) {
    platform.shortPath = directory.Write("SHORT~1", "S");
    EXPECT_EQ(Opened(), 'S');
    EXPECT_EQ(platform.calls, std::vector<std::string>(2, "ShortPath " + name));
    const std::pair<int*, int> failures[] = {{&platform.codePage, 932}, {&platform.units, 0},
                                             {&platform.units, 1000},   {&platform.measured, 0},
                                             {&platform.fetched, 0},    {&platform.fetched, 1000}};
    for (const auto& [answer, failure] : failures) {
        const int truth = std::exchange(*answer, failure);
        EXPECT_EQ(Opened(), 'L') << failure;
        *answer = truth;
    }
    std::string roads;
    for (bool struck = true; struck;) {  // no memory for the wide name, the path, the narrow name
        const Guard fault =
            Fault(FaultSource::Memory, static_cast<int>(roads.size()) + 2, FaultReach::Once);
        roads += static_cast<char>(Opened());
        struck = FaultStruck();
    }
    EXPECT_EQ(roads, "LLLS");
    platform.shortPath = directory / "gone";
    EXPECT_EQ(Opened(), kelStatusNotFound) << "a failure by the short name is final";
}

TEST(LongNameStep, NameWithATilde_IsReplacedByWhateverFits) {
    UseFakePlatform platform;
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("a/b"), "a/b") << "nothing is asked";
    for (const std::size_t length : {1U, 255U, 256U, 5000U}) {
        const std::string longName(length, 'x');
        platform.longName = [&](char* buffer, unsigned size) {
            const bool fits = longName.copy(buffer, size - 1) == length;
            buffer[fits ? length : 0] = '\0';
            return static_cast<unsigned>(length) + (fits ? 0 : 1);
        };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("B~1"), longName);
    }
    for (const unsigned second : {0U, 301U, 400U, ~0U}) {
        platform.longName = [&](char*, unsigned size) { return size == 256 ? 300 : second; };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~bob\\x"), "~bob/x") << second;
    }
    EXPECT_EQ(platform.calls.back(), "~bob/x 301");
    platform.longName = [](char*, unsigned) { return ~0U; };
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~bob"), "~bob");
}

TEST(Machine, MemoryFigures_AreRoundedEachByItself) {
    UseFakePlatform platform;
    const std::pair<MemoryBytes, std::array<unsigned long long, 9>> rows[] = {
        {{2047, 1023, 1024, 1024, 4096, 8192}, {1, 1, 0, 1, 0, 1, 4, 0, 4}},
        {{kUnknown, 2048, 1024, kUnknown, 0, 0}, {kUnknown, kUnknown, 2, 1, kUnknown, kUnknown}},
        {{1024, 0, 30720, 4096, 51200, 6144}, {1, 1, 0, 30, 26, 4, 50, 44, 6}},
    };
    for (const auto& [bytes, figures] : rows) {
        platform.memory = bytes;
        kelMemoryInfo info;
        kelSystem::GetMemoryDetails(info);
        EXPECT_EQ(std::memcmp(&info, figures.data(), sizeof info), 0);
        const std::array<unsigned long long, 9> single = {
            kelSystem::TotalPhysicalMemory(),     kelSystem::UsedPhysicalMemory(),
            kelSystem::AvailablePhysicalMemory(), kelSystem::TotalVirtualMemory(),
            kelSystem::UsedVirtualMemory(),       kelSystem::AvailableVirtualMemory(),
            kelSystem::TotalPagingMemory(),       kelSystem::UsedPagingMemory(),
            kelSystem::AvailablePagingMemory()};
        EXPECT_EQ(single, figures);
    }
}

}  // namespace
