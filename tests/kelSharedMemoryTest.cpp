#include "support/Testing.h"

using namespace zukel::test;

using Memory = kelSharedMemory;

static bool Stands(const std::string& name) {
    return Memory().Attach(name) == kOk;
}

struct kelSharedMemoryTest : testing::Test {
    /// A new object that is E(mpty), O(wner), A(ttached) to the segment of `peer`, or X, ended.
    Memory Make(char state) {
        Memory object;
        peer = elsewhere = Memory();
        (elsewhere = Memory()).Create(16, other);
        if (state == 'O' || state == 'A') {
            (state == 'O' ? object : peer).Create(8, own);
        }
        state == 'A' ? object.Attach(own) : state == 'X' ? object.Detach() : kOk;
        return object;
    }
    char StateOf(Memory& object) const {
        const bool mapped = object.GetBaseAddress() != nullptr;
        EXPECT_EQ(mapped, object.GetSize() != 0);
        return mapped ? (object.Attach(missing) == kOk ? 'A' : 'O') : object.IsValid() ? 'E' : 'X';
    }

    TemporaryDirectory directory;
    std::string own = directory / "own", other = directory / "other", missing = directory / "none";
    Memory peer, elsewhere;
};

TEST_F(kelSharedMemoryTest, EveryOperationOnACopyInEveryState) {
    // From E, O, A, X: + ok or - failed, the state after, * `own` stands.
    const std::pair<const char*, std::function<int(Memory&)>> rows[] = {
        {" +O* +O* +A* -X", [&](Memory& it) { return it.Create(8, own); }},
        {" -E +O* +A* -X", [&](Memory& it) { return it.Create(8, other); }},
        {" +A -O* +A* -X", [&](Memory& it) { return it.Attach(other); }},
        {" -E -O* +A* -X", [&](Memory& it) { return it.Attach(missing); }},
        {" -X -X +X -X", [&](Memory& it) { return it.Detach(); }},
        {" -X +X -X -X", [&](Memory& it) { return it.Destroy(); }},
        {" +X +X +X* +X", [&](Memory& it) { return it.Remove(other); }},
        {" -X +X +X -X", [&](Memory& it) { return it.Remove(own); }},
        {" -X -X -X* -X", [&](Memory& it) { return it.Remove(""); }},
    };
    for (const auto& [expected, call] : rows) {
        std::string answers;
        SCOPED_TRACE(expected);
        for (const char state : {'E', 'O', 'A', 'X'}) {
            Memory object = Make(state), assigned;
            ASSERT_EQ(StateOf(object), state);
            assigned = Memory(object);
            answers += call(assigned) == kOk ? " +" : " -";
            assigned = elsewhere;
            answers += StateOf(object) + std::string(Stands(own) ? "*" : "");
            EXPECT_EQ(peer.GetSize(), state == 'A' ? 8U : 0U) << "the creator keeps its hold";
        }
        EXPECT_EQ(answers, expected);
    }
    for (const char state : {'E', 'O', 'A', 'X'}) {
        Make(state);
        EXPECT_EQ(Stands(own), state == 'A') << "destroyed in state " << state;
    }
}

TEST_F(kelSharedMemoryTest, Sizes_AreExactOrRefusedWithoutAName) {
    for (const unsigned long long size : {0ULL, 1ULL, 4087ULL, 4088ULL, 4089ULL, 40ULL << 20U}) {
        SCOPED_TRACE(size);
        Memory owner, attached;
        ASSERT_THAT(Statuses({owner.Create(size, own), attached.Attach(own)}), Each(kOk));
        EXPECT_EQ(owner.GetSize(), size);
        EXPECT_EQ(attached.GetSize(), size);
        char* const bytes = static_cast<char*>(owner.GetBaseAddress());
        EXPECT_EQ(std::count(bytes, bytes + size, '\0'), std::ptrdiff_t(size));
        std::memset(bytes, 'z', size);
        EXPECT_EQ(std::memcmp(bytes, attached.GetBaseAddress(), size), 0);
        EXPECT_EQ(Memory().Remove(own), kOk) << "while it is held";
        EXPECT_EQ(Memory().Create(8, own), kOk) << "while the former one is held";
    }
    for (const unsigned long long size : {1ULL << 41U, 1ULL << 63U, ~0ULL - 8, ~0ULL - 7, ~0ULL}) {
        Memory memory;
        EXPECT_EQ(memory.Create(size, own), kFailed) << size;
        EXPECT_EQ(memory.Create(1, own), kOk) << size;
    }
}
