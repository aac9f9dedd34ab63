#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "kelTime.h"
#include "platform/Machine.h"
#include "platform/linux/MemoryFigures.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"
#include "zubase/Utf16.h"

using namespace zukel::platform;
using namespace zukel::test;

namespace {

using Memory = kelSharedMemory;
constexpr int kOk = kelStatusOk;
constexpr int kFailed = kelStatusFailed;

/// Of a figure in kilobytes that is either well above this number or not told.
int StatusOf(unsigned long long figure) {
    return figure == kUnknown ? kFailed : figure > 1024 ? kOk : 1024;
}

TEST(SystemFaults, AnyCallFails_IsToldAndLeavesNothing) {
    constexpr auto kNew = FaultSource::Memory, kSystem = FaultSource::System;
    constexpr auto kRuntime = FaultSource::Runtime;
    const TemporaryDirectory directory;
    const std::string name = directory / "a segment with a name that is not short";
    const std::string taken = directory / "another one, which stands beside it";
    struct Around {
        kelSharedMemory empty, owner, attached;
        kelTime time = kelTime(1000);
        zuString text = "unchanged";
    };
    struct Row {
        const char* call;
        FaultSource source;
        std::function<int(Around&)> made;
    };
    const Row rows[] = {
        {"Create", kNew, [&](Around& it) { return it.empty.Create(100, name); }},
        {"Create", kSystem, [&](Around& it) { return it.empty.Create(100, name); }},
        {"Create large", kSystem, [&](Around& it) { return it.empty.Create(16U << 20U, name); }},
        {"Attach", kNew, [&](Around& it) { return it.empty.Attach(taken); }},
        {"Attach", kSystem, [&](Around& it) { return it.empty.Attach(taken); }},
        {"Destroy", kSystem, [](Around& it) { return it.owner.Destroy(); }},
        {"Detach", kSystem, [](Around& it) { return it.attached.Detach(); }},
        {"Remove", kRuntime, [&](Around& it) { return it.owner.Remove(taken); }},
        {"new object", kRuntime, [&](Around&) { return Memory().Create(8, name); }},
        {"kelTime", kRuntime, [](Around&) { return kelTime(9).GetSeconds() == 0 ? kOk : kFailed; }},
        {"text", kRuntime, [](Around& it) { return it.time.GetFormatTime(it.text, "%Y"); }},
        {"text", kNew, [&](Around& it) { return it.time.GetFormatTime(it.text, name); }},
        {"memory", kSystem, [](Around&) { return StatusOf(kelSystem::UsedVirtualMemory()); }},
    };
    for (const Row& row : rows) {
        WalkFaults(row.call, row.source, [&] {
            Around it;
            EXPECT_EQ(it.owner.Create(100, taken), kOk);
            EXPECT_EQ(it.attached.Attach(taken), kOk);
            int status = kFailed;
            try {
                status = UnderFaults([&] { return row.made(it); });
            } catch (const std::bad_alloc&) {
            }
            if (status != kOk) {
                EXPECT_EQ(status, kFailed);
                EXPECT_EQ(it.text, "unchanged");
                EXPECT_EQ(it.empty.GetBaseAddress(), nullptr);
                EXPECT_TRUE(Memory().Remove(name) != kOk || !Faults::IsSingle())
                    << "a name is left";
                EXPECT_EQ(it.empty.Create(100, name), kOk) << "usable";
            }
            Memory().Remove(taken);
            return status == kOk ? Outcome::Succeeded : Outcome::Failed;
        });
    }
}

TEST(SharedMemory, Segments_AreTheirOwnersAloneAndHalfMadeOnesAreRefused) {
    const TemporaryDirectory directory;
    Memory memory;
    const mode_t former = umask(0);
    EXPECT_EQ(memory.Create(100, directory / "segment"), kOk);
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
        EXPECT_EQ(Memory().Attach(directory / "segment"), kFailed) << content;
    }
    EXPECT_EQ(Memory().Remove(directory / "segment"), kOk);
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
}

TEST(MachineTexts, MalformedUtf8_IsReplacedAndNeverReadPastItsEnd) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80z", u"a\u00e4\u20ac\U0001f600z"},
        {"\xf0\x9f\x98", u"\ufffd"},              // ends in the middle
        {"\xf0\x9f\xc3\xa4", u"\ufffd\u00e4"},    // the next character is not swallowed
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"},  // a surrogate
    };
    for (const auto& [text, expected] : rows) {
        const std::vector<char> bytes(text.begin(), text.end());  // exactly as large as it is
        std::vector<char16_t> units(zukel::Utf16Length(bytes.data(), bytes.size()));
        zukel::ConvertToUtf16(bytes.data(), bytes.size(), units.data());
        EXPECT_EQ(std::u16string(units.begin(), units.end()), expected)
            << testing::PrintToString(text);
    }
}

}  // namespace
