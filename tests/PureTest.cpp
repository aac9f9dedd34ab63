// Inner functions of values alone: names, the texts that figures are read from, registers.

#include <map>

#include "environment/FileNameExpansion.h"
#include "fuzz/Oracles.h"
#include "platform/Memory.h"
#include "platform/linux/LocaleName.h"
#include "platform/linux/MemoryTexts.h"
#include "support/Testing.h"
#include "system/CpuidLeaves.h"
#include "zubase/Utf16.h"

using namespace zukel;
using namespace zukel::platform;
using zukel::test::Table;

TEST(Names, GeneratedNames_AgreeWithTheOracles) {
    const char* const given = std::getenv("ZUKEL_SEED");
    const auto seed = given != nullptr ? std::strtoul(given, nullptr, 10) : std::random_device{}();
    SCOPED_TRACE("ZUKEL_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed);
    EXPECT_EQ(JoinFileName({}), "") << "which nothing taken apart gives";
    for (int count = 0; count < 20000; ++count) {
        const std::string name = fuzz::HostileName(random);
        ASSERT_EQ(fuzz::CheckNormalizedPath(name), "");
        ASSERT_EQ(fuzz::CheckNameParts(name), "");
        ASSERT_EQ(fuzz::CheckWideName(name), "");
        ASSERT_EQ(fuzz::CheckExpansion(name), "");
        ASSERT_EQ(fuzz::CheckRelativePath(name + '|' + fuzz::HostileName(random)), "");
        std::string bytes(9, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        bytes[8 - random() % 2] = static_cast<char>(random() % 3 - 1);  // near enough to today
        ASSERT_EQ(fuzz::CheckTimePattern(bytes + "%FT%T%z %a %b %c %G %I %j %V %%" + name), "");
    }
}

/// Most registers are as they were read from real processors and published (InstLatx64).
TEST(Machine, Processors_AnswerByTheirRegisters) {
    const struct {
        const char* vendor;
        std::uint32_t highestLeaf, ebxOf1, edxOf1, highestExtendedLeaf, ecxOfExtended1,
            ecxOfExtended8;
        int perPackage;
        bool multiThreading;
    } rows[] = {
        {"GenuineIntel", 2, 0x00000004, 0x0383fbff, 0x80000004, 0, 0, 1, false},  // Pentium III
        {"GenuineIntel", 5, 0x00020800, 0xbfebfbff, 0x80000008, 0, 0, 2, true},   // Pentium 4 3.20
        {"GenuineIntel", 0x80000000, 0x00100800, ~0U, 0x80000008, 1, 0, 1, false},
        {"GenuineIntel", 3, 0x00080800, 0x0fffffff, 0x80000008, 3, 3, 1, false},
        {"GenuineIntel", 4, 0x00080800, 0x0fffffff, 0x80000008, 3, 3, 8, false},
        {"AuthenticAMD", 13, 0x00400800, 0x178bfbff, 0x8000001f, 0x35c233ff, 0x603f, 64, false},
        {"AuthenticAMD", 16, 0x00020800, ~0U, 0x80000008, ~2U, 0xff07, 16, true},
        {"AuthenticAMD", 16, 0x00020800, ~0U, 0x80000007, ~2U, 0xff07, 2, true},
        {"AuthenticAM", 22, 0x00100800, ~0U, 0x80000008, 3, 3, 1, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.vendor + (" with leaves up to " + std::to_string(row.highestLeaf)));
        std::uint32_t name[3] = {};
        for (unsigned i = 0; row.vendor[i] != '\0'; ++i) {  // the first in the lowest byte
            name[i / 4] |= std::uint32_t(static_cast<unsigned char>(row.vendor[i])) << i % 4 * 8;
        }
        std::map<std::uint32_t, CpuRegisters> leaves;
        leaves[0] = {row.highestLeaf, name[0], name[2], name[1]};
        leaves[1] = {0, row.ebxOf1, 0, row.edxOf1};
        leaves[0x80000000] = {row.highestExtendedLeaf, 0, 0, 0};
        leaves[0x80000001] = {0, 0, row.ecxOfExtended1, 0};
        leaves[0x80000008] = {0, 0, row.ecxOfExtended8, 0};
        const auto read = [&](std::uint32_t leaf) { return leaves[leaf]; };
        EXPECT_EQ(VendorText(leaves[0]), row.vendor);
        EXPECT_EQ(LogicalProcessors(read), row.perPackage);
        EXPECT_EQ(HasMultiThreading(read), row.multiThreading);
    }
}

// The texts from which figures are read, and UTF-8 from anywhere: none of them is to be trusted.
TEST(MachineTexts, Groups_AreThoseThatCountMemoryAndTheirLimitsHoldTogether) {
    const char* const groups[][3] = {
        {"4:memory:/a/b\n0::/\n", "/a/b", ""},
        {"0::/user.slice/x:y.scope\n", "none", "/user.slice/x:y.scope"},
        {"9:name=systemd:/s\n4:cpu,memory:/c\n0::/u", "/c", "/u"},
        {"3:memoryx:/a\n1:name=memory:/c\nnone\n4:memory\n:::\n::\n0:\n0:x:/a", "none", "none"},
        {"4:memory:/../a\n0::a", "", ""},
    };
    for (const auto& [text, one, two] : groups) {
        EXPECT_EQ(CgroupPathOf(text, CgroupVersion::V1).value_or("none"), one) << text;
        EXPECT_EQ(CgroupPathOf(text, CgroupVersion::V2).value_or("none"), two) << text;
    }
    // A limit, what is used of it and to be had again; both figures then.
    const std::array<std::uint64_t, 5> limits[] = {{500, 100, 40, 500, 440},
                                                   {500, 100, kUnknown, 500, 400},
                                                   {500, kUnknown, 0, 500, kUnknown},
                                                   {500, 700, 0, 500, 0},
                                                   {2000, 100, 0, 1000, 800}};
    for (const auto& [limit, used, inactive, total, available] : limits) {
        PhysicalMemory memory{1000, 800, false};
        ApplyLimit(memory, limit, used, inactive);
        EXPECT_EQ(memory.total, total) << limit << ' ' << used;
        EXPECT_EQ(memory.available, available) << limit << ' ' << used;
    }
    constexpr auto text =
        "XX: 2\nX:   3 kB\nBig: 18014398509481984\nMore: 18446744073709551616\nY: x";
    EXPECT_EQ(FieldOf(text, "X", 1024), 3072U);
    for (const char* const name : {"Big", "More", "Y", "Z"}) {
        EXPECT_EQ(FieldOf(text, name, 1024), kUnknown) << name;
    }
}

TEST(MachineTexts, MalformedUtf8_IsReplacedAndNeverReadPastItsEnd) {
    const std::pair<std::string, std::u16string> rows[] = {
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80z", u"a\u00e4\u20ac\U0001f600z"},
        {"\xed\x9f\xbf\xf4\x8f\xbf\xbf", u"\ud7ff\U0010ffff"},
        // Ends in the middle; the next character is not swallowed; a surrogate.
        {"\xf0\x9f\xc3\xa4\xed\xa0\x80\xf0\x9f\x98", u"\ufffd\u00e4\ufffd\ufffd\ufffd\ufffd"},
        // Longer than need be; beyond the last character.
        {"\xe0\x9f\xbf\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
    };
    for (const auto& [text, expected] : rows) {
        const std::vector<char> bytes(text.begin(), text.end());  // exactly as large as it is
        std::u16string units(Utf16Length(bytes.data(), bytes.size()), u' ');
        ConvertToUtf16(bytes.data(), bytes.size(), units.data());
        EXPECT_EQ(units, expected) << testing::PrintToString(text);
    }
}

TEST(MachineTexts, LocaleNames) {
    for (const auto& [name, characterSet, facts] : Table<3>(R"(
        sv_SE.UTF-8     UTF-8        sv|SE|65001|    tr_TR    ISO-8859-9      tr|TR|28599|
        ca_ES@valencia  ISO-8859-15  ca|ES|28605|    en_US    ANSI_X3.4-1968  en|US|20127|
        ja_JP           EUC-JP       ja|JP|51932|    xx_XX    ISO-8859-17     |||
        xx_XX  ISO-8859-   |||    xx_XX    ISO-8859-1x  |||    vi_VN  TCVN5712-1  |||
        eo     UTF-8       |||    C.UTF-8  UTF-8        |||    fil_PH.UTF-8 UTF-8 |||
        en_USA UTF-8       |||    Sv_SE    UTF-8        |||    sV_SE  UTF-8       |||
        sv-SE  UTF-8       |||    sv_sE    UTF-8        |||    sv_S{  UTF-8       |||)")) {
        std::string told;
        for (const auto fact : {LocaleFact::Language, LocaleFact::Country, LocaleFact::CodePage}) {
            char buffer[16] = "";
            const LocaleId id = PackLocale(name, characterSet);
            const int size = LocaleText(id, fact, buffer, sizeof buffer);
            EXPECT_EQ(size, id == 0 ? 0 : static_cast<int>(std::strlen(buffer)) + 1) << name;
            EXPECT_EQ(LocaleText(id, fact, buffer, size - 1), 0) << name;
            told += std::string(buffer) + "|";
        }
        EXPECT_EQ(told, facts) << name;
    }
}
