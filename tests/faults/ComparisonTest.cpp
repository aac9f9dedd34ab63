// Open files beside a model of them, where system calls move fewer bytes than they were asked for
// and signals interrupt them; and operations on a tree beside those of the C++ library.

#include "fuzz/Oracles.h"
#include "support/Faults.h"

using namespace zukel::test;

TEST(OpenFile, GeneratedOperations_AgreeWithTheOracle) {
    std::mt19937 random;
    const Guard shortened = ShortTransfers([&](std::size_t size) {  // 0 is an interruption
        return random() % 6 == 0 ? 0 : std::max<std::size_t>(1, size * (random() % 10) / 9);
    });
    for (unsigned seed = 0; seed < 2000; ++seed) {
        random.seed(seed);
        const std::string bytes = Noise(250, seed);
        ASSERT_EQ(UnderFaults([&] { return zukel::fuzz::CheckOpenFile(bytes); }), "")
            << "seed " << seed;
    }
}

TEST(Tree, GeneratedOperations_AgreeWithTheOracle) {
    for (unsigned seed = 0; seed < (kOnWindows ? 10U : 150U); ++seed) {
        ASSERT_EQ(zukel::fuzz::CheckTree(Noise(240, seed)), "") << "seed " << seed;
    }
}
