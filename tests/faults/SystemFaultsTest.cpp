#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
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

int StatusOf(bool succeeded) {
    return succeeded ? kelStatusOk : kelStatusFailed;
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
        kelMemoryInfo memory;
        zuDiskInfo disk;
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
        {"new object", kRuntime, [&](Around&) { return kelSharedMemory().Create(8, name); }},
        {"kelTime", kRuntime, [](Around&) { return StatusOf(kelTime(9).GetSeconds() == 0); }},
        {"text", kRuntime, [](Around& it) { return it.time.GetFormatTime(it.text, "%Y"); }},
        {"text", kNew, [&](Around& it) { return it.time.GetFormatTime(it.text, name); }},
        {"disk", kSystem,
         [](Around& it) { return StatusOf(kelSystem::GetFreeDiskSpace("/", it.disk)); }},
        {"memory", kSystem,
         [](Around& it) {
             kelSystem::GetMemoryDetails(it.memory);
             const auto* const figures = &it.memory.totalPhysical;
             return StatusOf(std::count(figures, figures + 9, kUnknown) == 0);
         }},
    };
    for (const Row& row : rows) {
        WalkFaults(row.call, row.source, [&] {
            Around it;
            EXPECT_EQ(it.owner.Create(100, taken), kelStatusOk);
            EXPECT_EQ(it.attached.Attach(taken), kelStatusOk);
            int status = kelStatusFailed;
            try {
                status = UnderFaults([&] { return row.made(it); });
            } catch (const std::bad_alloc&) {
            }
            if (status != kelStatusOk) {
                EXPECT_EQ(status, kelStatusFailed);
                EXPECT_EQ(it.text + std::to_string(it.disk.totalBytes), "unchanged0");
                EXPECT_EQ(it.empty.GetBaseAddress(), nullptr);
                EXPECT_EQ(kelSharedMemory().Attach(name), kelStatusFailed) << "no name is left";
                kelSharedMemory().Remove(name);  // where that failed as well
                EXPECT_EQ(it.empty.Create(100, name), kelStatusOk) << "usable";
            }
            kelSharedMemory().Remove(taken);
            return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
        });
    }
}

TEST(SharedMemory, Segments_AreTheirOwnersAloneAndHalfMadeOnesAreRefused) {
    const TemporaryDirectory directory;
    kelSharedMemory memory;
    const mode_t former = umask(0);
    EXPECT_EQ(memory.Create(1U << 20U, directory / "segment"), kelStatusOk);
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
    EXPECT_GE(facts.st_blocks * 512, 1 << 20U) << "reserved before the first touch";
    const std::string zero(7, '\0'), ones(7, '\xff');
    for (const std::string& content : {std::string(), std::string(108, '\0'), zero, '\x7' + zero,
                                       'm' + zero + ones, '\xff' + ones + ones}) {
        std::filesystem::remove(path);
        std::ofstream(path, std::ios::binary) << content;
        const int descriptors = OpenDescriptors();
        kelSharedMemory attached;
        EXPECT_EQ(attached.Attach(directory / "segment"), kelStatusFailed) << content;
        EXPECT_EQ(OpenDescriptors(), descriptors);
    }
    EXPECT_EQ(kelSharedMemory().Remove(directory / "segment"), kelStatusOk);
}

// The texts from which figures are read, and UTF-8 from anywhere: none of them is to be trusted.
TEST(MachineTexts, Groups_AreThoseThatCountMemoryAndTheirLimitsHoldTogether) {
    const char* const groups[][3] = {
        {"4:memory:/a/b\n0::/\n", "/a/b", ""},
        {"0::/user.slice/x:y.scope\n", "none", "/user.slice/x:y.scope"},
        {"9:name=systemd:/s\n4:cpu,memory:/c\n0::/u", "/c", "/u"},
        {"3:memoryx:/a\n1:name=memory:/c\n", "none", "none"},
        {"4:memory:/../outside\n0::relative", "", ""},
        {"4:memory\n:::\n::\n0:\n", "none", "none"},
    };
    for (const auto& [text, one, two] : groups) {
        EXPECT_EQ(GroupPathOf(text, GroupKind::One).value_or("none"), one) << text;
        EXPECT_EQ(GroupPathOf(text, GroupKind::Two).value_or("none"), two) << text;
    }
    const std::uint64_t limits[][6] = {
        // available of 1000; limit, used, reclaimable; total and available after
        {800, 500, 100, 40, 500, 440},       {200, 500, 100, 40, 500, 200},
        {800, 500, 700, 0, 500, 0},          {800, 500, 100, 9000, 500, 500},
        {800, 500, 100, kUnknown, 500, 400}, {800, 500, kUnknown, 0, 500, kUnknown},
    };
    for (const auto& [available, limit, used, reclaimable, total, after] : limits) {
        PhysicalMemory memory{1000, available, false};
        ApplyLimit(memory, limit, used, reclaimable);
        EXPECT_EQ(memory.total, total);
        EXPECT_EQ(memory.available, after) << used << ' ' << reclaimable;
    }
    constexpr auto text =
        "MemTotalX: 1\nXMemTotal: 2\nMemTotal:   3 kB\nNone:\nBig: 18014398509481984";
    EXPECT_EQ(FieldOf(text, "MemTotal", 1024), 3072U);
    EXPECT_EQ(FieldOf(text, "None", 1024), kUnknown);
    EXPECT_EQ(FieldOf(text, "Big", 1024), kUnknown);
}

TEST(MachineTexts, MalformedUtf8_IsReplacedAndNeverReadPastItsEnd) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80z", u"a\u00e4\u20ac\U0001f600z"},
        {"\xf0\x9f\x98", u"\ufffd"},              // ends in the middle
        {"\xf0\x9f\xc3\xa4", u"\ufffd\u00e4"},    // the next character is not swallowed
        {"\xe0\x80\x80", u"\ufffd\ufffd\ufffd"},  // longer than need be
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"},  // a surrogate
    };
    for (const auto& [text, expected] : rows) {
        const std::vector<char> bytes(text.begin(), text.end());  // exactly as large as it is
        std::u16string units(zukel::Utf16Length(bytes.data(), bytes.size()), u' ');
        zukel::ConvertToUtf16(bytes.data(), bytes.size(), units.data());
        EXPECT_EQ(units, expected) << testing::PrintToString(text);
    }
}

}  // namespace
