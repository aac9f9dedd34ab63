// The portable code for what only Windows does, and for rare answers of the platform. Here fakes
// replace some functions of the platform, and return what a test has set.

#include <utility>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Memory.h"
#include "support/Faults.h"

using namespace zukel::test;
using namespace zukel::platform;

static int codePage = 0, units = -1;     ///< Of the conversion to UTF-16; -1 for the truth.
static int measured = -1, fetched = -1;  ///< The sizes told of the short path; -1 for the truth.
static std::string shortPath, asked;     ///< And the name whose short or long form was asked for.
static std::function<unsigned(char* buffer, unsigned size)> longName;
static MemoryBytes memory;

namespace zukel::platform {

int MultibyteCodePage() noexcept {
    return codePage;
}
int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    std::copy_n(text, buffer != nullptr ? capacity : 0, buffer);
    return units != -1 ? units : length;
}
unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned) noexcept {
    const Guard ownWork = Counting(false);
    const auto size = static_cast<int>(shortPath.size());
    if (buffer == nullptr) {
        asked.assign(path, path + std::u16string_view(path).size());
        return static_cast<unsigned>(measured != -1 ? measured : size + 1);
    }
    std::copy(shortPath.begin(), shortPath.end(), buffer);
    return static_cast<unsigned>(fetched != -1 ? fetched : size);
}
unsigned LongName(const char* name, char* buffer, unsigned size) noexcept {
    asked = name + (' ' + std::to_string(size));
    return longName(buffer, size);
}
MemoryBytes QueryMemory() noexcept {
    return memory;
}

}  // namespace zukel::platform

// A process on a single-byte code page: an ASCII name stands for itself in UTF-16, and the short
// path of every name is that of another file.
TEST(OpenRoad, AllTestsPassed_LeadToTheShortNameElseToTheCallers) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("long name", "L");
    const auto opened = [&]() -> int {  // what the file says, or the status
        kelFile file;
        char content = 0;
        const int status = UnderFaults([&] { return file.Open(name, kRead); });
        EXPECT_EQ(file.GetFileName(), status == kOk ? name : "");
        return file.Read(content) == kOk ? content : status;
    };
    shortPath = directory.Write("SHORT~1", "S");
    EXPECT_EQ(opened(), 'S');
    EXPECT_EQ(asked, name);
    const struct {
        const char* what;
        int *answer, failure;
    } rows[] = {{"code page", &codePage, 932},  {"no UTF-16", &units, 0},
                {"long UTF-16", &units, 1000},  {"no size of the short path", &measured, 0},
                {"no short path", &fetched, 0}, {"a longer short path", &fetched, 1000}};
    for (const auto& row : rows) {
        const int truth = std::exchange(*row.answer, row.failure);
        EXPECT_EQ(opened(), 'L') << row.what;
        *row.answer = truth;
    }
    for (int block = 2; block < 5; ++block) {  // the wide name, the path, the narrow name
        const Guard armed = Arm({FaultSource::Memory, block, true});
        EXPECT_EQ(opened(), 'L') << block;
        EXPECT_NE(fault.struck, "") << block;
    }
    shortPath = directory / "gone";
    EXPECT_EQ(opened(), kelStatusNotFound) << "a failure by the short name is final";
}

TEST(LongNameStep, NameWithATilde_IsReplacedByWhateverFits) {
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("a/b"), "a/b") << "nothing is asked";
    for (const std::size_t length : {1U, 255U, 256U, 5000U}) {
        const std::string text(length, 'x');
        longName = [&](char* buffer, unsigned size) {
            const bool fits = text.copy(buffer, size - 1) == length;
            buffer[fits ? length : 0] = '\0';
            return static_cast<unsigned>(length) + (fits ? 0 : 1);
        };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("B~1"), text);
    }
    for (const unsigned second : {0U, 301U, 400U, ~0U}) {
        longName = [&](char*, unsigned size) { return size == 256 ? 300 : second; };
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~bob\\x"), "~bob/x") << second;
    }
    EXPECT_EQ(asked, "~bob/x 301");
    longName = [](char*, unsigned) { return ~0U; };
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~bob"), "~bob");
}

TEST(Machine, MemoryFigures_AreRoundedEachByItself) {
    unsigned long long (*const single[])() = {
        kelSystem::TotalPhysicalMemory,     kelSystem::UsedPhysicalMemory,
        kelSystem::AvailablePhysicalMemory, kelSystem::TotalVirtualMemory,
        kelSystem::UsedVirtualMemory,       kelSystem::AvailableVirtualMemory,
        kelSystem::TotalPagingMemory,       kelSystem::UsedPagingMemory,
        kelSystem::AvailablePagingMemory};
    const std::pair<MemoryBytes, std::array<unsigned long long, 9>> rows[] = {
        {{2047, 1023, 1024, 1024, 4096, 8192}, {1, 1, 0, 1, 0, 1, 4, 0, 4}},
        {{kUnknown, 2048, 1024, kUnknown, 0, 0}, {kUnknown, kUnknown, 2, 1, kUnknown, kUnknown}},
        {{1024, 0, 30720, 4096, 51200, 6144}, {1, 1, 0, 30, 26, 4, 50, 44, 6}},
    };
    for (const auto& [bytes, figures] : rows) {
        SCOPED_TRACE(bytes.totalPhysical);
        memory = bytes;
        kelMemoryInfo info;
        std::array<unsigned long long, 9> together, apart;
        kelSystem::GetMemoryDetails(info);
        std::memcpy(together.data(), &info, sizeof info);
        std::transform(single, single + 9, apart.begin(), [](auto* figure) { return figure(); });
        EXPECT_EQ(together, figures);
        EXPECT_EQ(apart, figures);
    }
}
