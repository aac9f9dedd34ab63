// The pure parts of the work on names, where the inner functions can be reached.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

#include "directory/PathText.h"
#include "directory/RelativePath.h"
#include "environment/FileNameExpansion.h"
#include "file/NameParts.h"
#include "platform/linux/LocaleName.h"
#include "support/NameOracles.h"
#include "support/Table.h"

using namespace zukel;

namespace {

TEST(Names, GeneratedNames_AgreeWithTheOracles) {
    const char* const given = std::getenv("ZUKEL_SEED");
    const auto seed = given != nullptr ? std::strtoul(given, nullptr, 10) : std::random_device{}();
    std::cout << "ZUKEL_SEED=" << seed << '\n';
    std::mt19937_64 random(seed);
    for (int count = 0; count < 20000; ++count) {
        const std::string name = test::HostileName(random);
        ASSERT_EQ(test::CheckCanonicalPath(name), "");
        ASSERT_EQ(test::CheckNameParts(name), "");
        ASSERT_EQ(test::CheckExpansion(name), "");
        ASSERT_EQ(test::CheckRelativeWay(name + '|' + test::HostileName(random)), "");
    }
}

TEST(Names, AMillionComponents_TakeTimeInProportion) {  // a square of that would take minutes
    for (const char* const unit : {"/", "\\", "a/", "../", "a/..", "$/", ":", ".", "~"}) {
        std::string name;
        for (int count = 0; count < 1000000; ++count) {
            name += unit;
        }
        CanonicalPath(name);
        TakeApart(name);
        EXPECT_EQ(JoinFileName(SplitFileName(name)).size(), name.size());
        EXPECT_NE(WayBetween("/" + name, "/" + name + "b"), "/") << unit;
    }
}

TEST(Names, WayBetween) {
    const auto cases = test::Table<3>(R"(
        c:/a/b     c:/a/c    ./../c/      c:/a/b/c  c:/a        ./../../
        c:/a       c:/a/b/c  ./b/c/       c:/a      c:/a/       ./
        c:/a/x/..  c:/a      ./           c:/a      d:/x/../y   d:/x/../y
        /a/b       /a/c      ./../c/      /         /foo        ./foo/
        /usr       /         ./../        foo       foo/bar     ./bar/
        foo        bar       bar          .         .           ./
        .          foo       _            c:/..     c:/x        _
        c:/a//b    c:/a/b    ./../../b/)");
    for (const auto& [from, to, way] : cases) {
        EXPECT_EQ(WayBetween(from, to), way) << from << " to " << to;
    }
}

TEST(Names, LocaleNames) {
    const auto cases = test::Table<3>(R"(
        sv_SE.UTF-8     UTF-8        sv_SE.65001     tr_TR    ISO-8859-9      tr_TR.28599
        ca_ES@valencia  ISO-8859-15  ca_ES.28605     en_US    ANSI_X3.4-1968  en_US.20127
        ja_JP           EUC-JP       ja_JP.51932     C.UTF-8  UTF-8           _
        fil_PH.UTF-8    UTF-8        _               eo       UTF-8           _
        en_USA          UTF-8        _               vi_VN    TCVN5712-1      _
        xx_XX           ISO-8859-17  _               xx_XX    ISO-8859-       _
        xx_XX           ISO-8859-1x  _               Sv_SE    UTF-8           _
        sV_SE           UTF-8        _               sv-SE    UTF-8           _
        sv_sE           UTF-8        _               sv_S{    UTF-8           _)");
    for (const auto& [name, characterSet, text] : cases) {
        using platform::LocaleFact;
        const platform::LocaleId id = platform::PackLocale(name, characterSet);
        EXPECT_EQ(id == 0, text.empty()) << name;
        std::string joined;
        for (const auto fact : {LocaleFact::Language, LocaleFact::Country, LocaleFact::CodePage}) {
            char buffer[16] = "";
            const int size = platform::LocaleText(id, fact, buffer, sizeof buffer);
            EXPECT_EQ(size, id == 0 ? 0 : static_cast<int>(std::strlen(buffer)) + 1) << name;
            EXPECT_EQ(platform::LocaleText(id, fact, buffer, size - 1), 0) << name;
            joined += (fact == LocaleFact::Country ? "_" : fact == LocaleFact::CodePage ? "." : "");
            joined += buffer;
        }
        EXPECT_EQ(joined, id == 0 ? "_." : text);
    }
}

}  // namespace
