// The pure work on names, and the texts of a time, on generated input.

#include <iostream>
#include <random>

#include "directory/PathText.h"
#include "directory/RelativePath.h"
#include "environment/FileNameExpansion.h"
#include "file/NameParts.h"
#include "fuzz/Oracles.h"
#include "support/Testing.h"

using namespace zukel;

namespace {

TEST(Names, GeneratedNames_AgreeWithTheOracles) {
    const char* const given = std::getenv("ZUKEL_SEED");
    const auto seed = given != nullptr ? std::strtoul(given, nullptr, 10) : std::random_device{}();
    std::cout << "ZUKEL_SEED=" << seed << '\n';
    std::mt19937_64 random(seed);
    EXPECT_EQ(JoinFileName({}), "") << "which nothing taken apart gives";
    for (int count = 0; count < 20000; ++count) {
        const std::string name = fuzz::HostileName(random);
        ASSERT_EQ(fuzz::CheckCanonicalPath(name), "");
        ASSERT_EQ(fuzz::CheckNameParts(name), "");
        ASSERT_EQ(fuzz::CheckExpansion(name), "");
        ASSERT_EQ(fuzz::CheckRelativeWay(name + '|' + fuzz::HostileName(random)), "");
        std::string bytes(9, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        bytes[8 - random() % 2] = static_cast<char>(random() % 3 - 1);  // near enough to today
        ASSERT_EQ(fuzz::CheckTimePattern(bytes + "%FT%T%z %a %b %c %G %I %j %V %%" + name), "");
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

}  // namespace
