// The texts from which the platform folder reads its figures, and UTF-8 from anywhere: none of them
// is to be trusted.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Machine.h"
#include "platform/linux/MemoryFigures.h"
#include "zubase/Utf16.h"

using namespace zukel::platform;

namespace {

TEST(MemoryFigures, Fields_AreFoundByTheirWholeName) {
    constexpr std::string_view text =
        "MemTotalX:  1 kB\nXMemTotal: 2 kB\nMemTotal:     3 kB\nMemTotal: 4 kB\nEmpty:\nSpaces:   "
        "\n"
        "Word: max\nMinus: -5 kB\nMost: 18014398509481983 kB\nOver: 18014398509481984 kB\n"
        "Huge: 99999999999999999999999 kB\nanon 5\ninactive_file 6\ntotal_inactive_file 7\nLast: 8";
    struct Row {
        const char* name;
        std::uint64_t unit, value;
    };
    for (const Row& row : {Row{"MemTotal", 1024, 3072},
                           {"Empty", 1024, kUnknown},
                           {"Spaces", 1, kUnknown},
                           {"Word", 1, kUnknown},
                           {"Minus", 1, kUnknown},
                           {"Most", 1024, 18014398509481983U << 10U},
                           {"Over", 1024, kUnknown},
                           {"Over", 1, 18014398509481984},
                           {"Huge", 1, kUnknown},
                           {"inactive_file", 1, 6},
                           {"total_inactive_file", 1, 7},
                           {"Last", 1, 8},
                           {"Las", 1, kUnknown},
                           {"Missing", 1, kUnknown}}) {
        EXPECT_EQ(FieldOf(text, row.name, row.unit), row.value) << row.name;
    }
    for (std::size_t length = 0; length < text.size(); ++length) {  // cut anywhere
        const std::string cut(text.substr(0, length));
        const std::uint64_t value = FieldOf(cut, "MemTotal", 1024);
        EXPECT_TRUE(value == kUnknown || value == 3072) << cut;
    }
    EXPECT_EQ(NumberAt("18446744073709551615"), kUnknown);
    EXPECT_EQ(NumberAt("18446744073709551614\n"), kUnknown - 1);
    EXPECT_EQ(NumberAt("18446744073709551616"), kUnknown);
    EXPECT_EQ(NumberAt("9223372036854771712\n"), 9223372036854771712U);
    EXPECT_EQ(NumberAt(""), kUnknown);
    EXPECT_EQ(NumberAt("max\n"), kUnknown);
}

TEST(MemoryFigures, GroupPath_IsThatOfTheHierarchyThatCountsMemory) {
    using Path = std::optional<std::string_view>;
    constexpr Path kNone;
    struct Row {
        const char* text;
        Path one, two;
    };
    const Row rows[] = {
        {"4:memory:/a/b\n0::/\n", "/a/b", ""},
        {"0::/user.slice/x:y.scope\n", kNone, "/user.slice/x:y.scope"},
        {"9:name=systemd:/s\n4:cpu,memory,pids:/c\n0::/u", "/c", "/u"},
        {"3:memoryx:/a\n2:xmemory:/b\n1:name=memory:/c\n", kNone, kNone},
        {"4:memory:/\n0::/../outside\n", "", ""},
        {"4:memory\n:::\n::\n0:\n0::\n0::/late\n", kNone, ""},
        {"0::relative\n10:memory:\n", "", ""},
        {"10::/no\n00::/no\n", kNone, kNone},
        {"", kNone, kNone},
        {"\n\n\n4:memory:/last", "/last", kNone},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(GroupPathOf(row.text, GroupKind::One), row.one) << row.text;
        EXPECT_EQ(GroupPathOf(row.text, GroupKind::Two), row.two) << row.text;
    }
}

TEST(MemoryFigures, Limits_HoldTogetherAndNeverWrap) {
    EXPECT_EQ(Remaining(10, 3), 7U);
    EXPECT_EQ(Remaining(10, 11), 0U) << "more is promised than there is";
    EXPECT_EQ(Remaining(kUnknown, 3), kUnknown);
    EXPECT_EQ(Remaining(10, kUnknown), kUnknown);
    struct Row {
        PhysicalMemory before;
        std::uint64_t limit, used, reclaimable;
        PhysicalMemory after;
    };
    const Row rows[] = {
        {{1000, 800, false}, 500, 100, 40, {500, 440, true}},
        {{1000, 200, false}, 500, 100, 40, {500, 200, true}},    // the machine itself is short
        {{500, 440, true}, 600, 590, 0, {500, 10, true}},        // the group above is full
        {{1000, 800, false}, 500, 700, 0, {500, 0, true}},       // above its limit
        {{1000, 800, false}, 500, 100, 9000, {500, 500, true}},  // nonsense
        {{1000, 800, false}, 500, 100, kUnknown, {500, 400, true}},
        {{1000, 800, false}, 500, kUnknown, 0, {500, kUnknown, true}},
        {{1000, kUnknown, false}, 500, 100, 0, {500, kUnknown, true}},
        {{kUnknown, 800, false}, 500, 100, 0, {500, 400, true}},
        {{1000, 800, false}, 0, 0, 0, {0, 0, true}},
    };
    for (const Row& row : rows) {
        PhysicalMemory memory = row.before;
        ApplyLimit(memory, row.limit, row.used, row.reclaimable);
        EXPECT_EQ(memory.total, row.after.total);
        EXPECT_EQ(memory.available, row.after.available)
            << row.limit << ' ' << row.used << ' ' << row.reclaimable;
        EXPECT_EQ(memory.limited, row.after.limited);
    }
}

TEST(Utf16, MalformedText_IsReplacedAndNeverReadPastItsEnd) {
    struct Row {
        std::string text;
        std::u16string units;
    };
    const Row rows[] = {
        {"", u""},
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80z", u"a\u00e4\u20ac\U0001f600z"},
        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {"\xef\xbf\xbf\xf4\x8f\xbf\xbf\xed\x9f\xbf\xee\x80\x80", u"\uffff\U0010ffff\ud7ff\ue000"},
        {"\xc3", u"\ufffd"},  // ends in the middle
        {"\xe2\x82", u"\ufffd"},
        {"\xf0\x9f\x98", u"\ufffd"},
        {"\xe2\x82z", u"\ufffdz"},  // the next character is not swallowed
        {"\xf0\x9f\xc3\xa4", u"\ufffd\u00e4"},
        {"\x80\xbf", u"\ufffd\ufffd"},  // nothing begins here
        {"\xc0\x80", u"\ufffd\ufffd"},  // longer than need be
        {"\xe0\x80\x80", u"\ufffd\ufffd\ufffd"},
        {"\xf0\x80\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"},            // a surrogate
        {"\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},  // above U+10FFFF
        {"\xf5\xff\xfe", u"\ufffd\ufffd\ufffd"},
    };
    for (const Row& row : rows) {
        // Exactly as large as it is, so that a sanitizer sees a step beyond.
        const std::vector<char> bytes(row.text.begin(), row.text.end());
        std::vector<char16_t> units(zukel::Utf16Length(bytes.data(), bytes.size()));
        zukel::ConvertToUtf16(bytes.data(), bytes.size(), units.data());
        EXPECT_EQ(std::u16string(units.begin(), units.end()), row.units)
            << testing::PrintToString(row.text);
    }
}

}  // namespace
