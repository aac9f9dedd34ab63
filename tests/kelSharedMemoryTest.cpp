#include "kelSharedMemory.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kelStatus.h"
#include "support/TemporaryDirectory.h"

using zukel::test::TemporaryDirectory;

namespace {

constexpr int kOk = kelStatusOk;
constexpr int kFailed = kelStatusFailed;

bool Stands(const std::string& name) {
    return kelSharedMemory().Attach(name) == kOk;
}

template <typename T>
T& At(const kelSharedMemory& memory) {
    return *static_cast<T*>(memory.GetBaseAddress());
}

/// Names of a test's own, and the segments of the name `own` and `other` around its object.
class kelSharedMemoryStates : public testing::Test {
public:
    enum State { Empty, Owner, Attached, Ended };

    /// Brings a new object into the state. An attached one has a peer that owns the segment.
    std::unique_ptr<kelSharedMemory> Make(State state) {
        peer = std::make_unique<kelSharedMemory>();
        elsewhere = std::make_unique<kelSharedMemory>();
        EXPECT_EQ(elsewhere->Create(16, other), kOk);
        auto object = std::make_unique<kelSharedMemory>();
        if (state == Owner) {
            EXPECT_EQ(object->Create(8, own), kOk);
        } else if (state == Attached) {
            EXPECT_EQ(peer->Create(8, own), kOk);
            At<int>(*peer) = 42;
            EXPECT_EQ(object->Attach(own), kOk);
        } else if (state == Ended) {
            EXPECT_EQ(object->Detach(), kFailed);
        }
        return object;
    }

    State StateOf(kelSharedMemory& object) {
        if (!object.IsValid()) {
            EXPECT_EQ(object.GetBaseAddress(), nullptr);
            EXPECT_EQ(object.GetSize(), 0U);
            return Ended;
        }
        if (object.GetBaseAddress() == nullptr) {
            EXPECT_EQ(object.GetSize(), 0U);
            return Empty;
        }
        return object.Attach(missing) == kOk ? Attached : Owner;
    }

    TemporaryDirectory directory;
    std::string own = directory / "own";
    std::string other = directory / "other";
    std::string missing = directory / "missing";
    std::unique_ptr<kelSharedMemory> peer;
    std::unique_ptr<kelSharedMemory> elsewhere;
};

TEST_F(kelSharedMemoryStates, EveryOperationInEveryState) {
    // For the states Empty, Owner, Attached and Ended: ok or fails, the state after (E O A X), and
    // whether the name `own` stands then.
    struct Row {
        const char* operation;
        std::function<int(kelSharedMemory&)> call;
        const char* answers;
    };
    const Row rows[] = {
        {"Create", [&](auto& object) { return object.Create(8, own); },
         "ok O own, ok O own, ok A own, fails X -"},
        {"Create another", [&](auto& object) { return object.Create(9, missing); },
         "ok O -, ok O own, ok A own, fails X -"},
        {"Create what is there", [&](auto& object) { return object.Create(8, other); },
         "fails E -, ok O own, ok A own, fails X -"},
        {"Attach", [&](auto& object) { return object.Attach(other); },
         "ok A -, fails O own, ok A own, fails X -"},
        {"Attach to nothing", [&](auto& object) { return object.Attach(missing); },
         "fails E -, fails O own, ok A own, fails X -"},
        {"Detach", [&](auto& object) { return object.Detach(); },
         "fails X -, fails X -, ok X -, fails X -"},
        {"Destroy", [&](auto& object) { return object.Destroy(); },
         "fails X -, ok X -, fails X -, fails X -"},
        {"Remove another", [&](auto& object) { return object.Remove(other); },
         "ok X -, ok X -, ok X own, ok X -"},
        {"Remove its own", [&](auto& object) { return object.Remove(own); },
         "fails X -, ok X -, ok X -, fails X -"},
        {"Remove nothing", [&](auto& object) { return object.Remove(missing); },
         "fails X -, fails X -, fails X own, fails X -"},
        {"Remove no name", [&](auto& object) { return object.Remove(""); },
         "fails X -, fails X -, fails X own, fails X -"},
    };
    for (const Row& row : rows) {
        std::string answers;
        for (const State state : {Empty, Owner, Attached, Ended}) {
            SCOPED_TRACE(std::string(row.operation) + " in state " + std::to_string(state));
            const auto object = Make(state);
            ASSERT_EQ(StateOf(*object), state);
            const void* const address = object->GetBaseAddress();
            answers += row.call(*object) == kOk ? "ok " : "fails ";
            const State after = StateOf(*object);
            answers += "EOAX"[after] + std::string(Stands(own) ? " own" : " -") + ", ";
            EXPECT_TRUE(after != state || object->GetBaseAddress() == address);
            EXPECT_TRUE(state != Attached || At<int>(*peer) == 42) << "the creator keeps its hold";
        }
        EXPECT_EQ(answers, row.answers + std::string(", ")) << row.operation;
    }
    for (const auto& [state, stands] :
         {std::pair{Empty, false}, {Owner, false}, {Attached, true}}) {
        Make(state).reset();
        EXPECT_EQ(Stands(own), stands) << "destroyed in state " << state;
    }
}

TEST_F(kelSharedMemoryStates, Copies_ShareTheSegmentAndEndTogether) {
    for (const State state : {Empty, Owner, Attached}) {
        auto object = Make(state);
        kelSharedMemory copy(*object);
        kelSharedMemory assigned;
        EXPECT_EQ(assigned.Create(4, missing), kOk);
        assigned = copy;
        assigned = *&assigned;
        EXPECT_FALSE(Stands(missing)) << "what it held before is gone";
        EXPECT_EQ(assigned.GetBaseAddress(), object->GetBaseAddress());
        object.reset();
        EXPECT_EQ(StateOf(copy), state) << "a copy holds on";
        copy.Destroy();
        EXPECT_EQ(StateOf(assigned), Ended);
        EXPECT_EQ(assigned.Create(4, missing), kFailed);
        EXPECT_EQ(assigned.Remove(other), kOk);
    }
}

TEST_F(kelSharedMemoryStates, ALaterSegmentUnderTheName_IsNobodyElsesToRemove) {
    for (const bool destroy : {true, false}) {
        kelSharedMemory attached;
        kelSharedMemory first;
        ASSERT_EQ(first.Create(8, own), kOk);
        ASSERT_EQ(attached.Attach(own), kOk);
        ASSERT_EQ(kelSharedMemory().Remove(own), kOk);
        kelSharedMemory second;
        ASSERT_EQ(second.Create(8, own), kOk);
        EXPECT_EQ(attached.Detach(), kOk);
        EXPECT_EQ(destroy ? first.Destroy() : first.Detach(), destroy ? kOk : kFailed);
        EXPECT_TRUE(Stands(own));
    }
}

TEST_F(kelSharedMemoryStates, Sizes_AreExactOrRefusedWithoutAName) {
    constexpr unsigned long long k1 = 1;
    for (const unsigned long long size :
         {0 * k1, k1, 7 * k1, 4087 * k1, 4088 * k1, 4089 * k1, 40 * k1 << 20}) {
        kelSharedMemory owner;
        kelSharedMemory attached;
        ASSERT_EQ(owner.Create(size, own), kOk) << size;
        ASSERT_EQ(attached.Attach(own), kOk);
        EXPECT_EQ(owner.GetSize(), size);
        EXPECT_EQ(attached.GetSize(), size);
        char* const bytes = static_cast<char*>(owner.GetBaseAddress());
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; }));
        std::fill(bytes, bytes + size, 'z');
        const char* const seen = static_cast<const char*>(attached.GetBaseAddress());
        EXPECT_NE(seen, bytes);
        EXPECT_TRUE(std::equal(bytes, bytes + size, seen));
    }
    for (const int bits : {41, 46, 47, 62, 63, 64}) {
        for (const int less : {-1, 0, 1, 8, 9, 4096}) {
            const auto power = bits == 64 ? 0 : k1 << bits;
            const unsigned long long size = power - static_cast<unsigned long long>(less);
            if (bits == 64 && less <= 0) {
                continue;  // wraps to small sizes, which exist
            }
            kelSharedMemory memory;
            EXPECT_EQ(memory.Create(size, own), kFailed) << "2^" << bits << " - " << less;
            EXPECT_EQ(memory.GetBaseAddress(), nullptr);
            EXPECT_EQ(memory.Create(1, own), kOk) << "the name is free and the object Empty";
        }
    }
}

TEST_F(kelSharedMemoryStates, Create_OfALargeSegment_GetsThroughSignals) {
    struct sigaction handler {};
    struct sigaction former {};
    handler.sa_handler = [](int) {};
    sigaction(SIGALRM, &handler, &former);
    const itimerval often{{0, 1000}, {0, 1000}};
    const itimerval off{};
    setitimer(ITIMER_REAL, &often, nullptr);
    kelSharedMemory memory;
    EXPECT_EQ(memory.Create(64U << 20U, own), kOk);
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &former, nullptr);
}

TEST_F(kelSharedMemoryStates, Names_AreAnyTextButTheEmptyOne) {
    for (const std::string& name : {std::string(), std::string("\0name", 5)}) {
        kelSharedMemory memory;
        EXPECT_EQ(memory.Create(8, name), kFailed);
        EXPECT_EQ(memory.Attach(name), kFailed);
        EXPECT_TRUE(memory.IsValid());
        EXPECT_EQ(memory.Remove(name), kFailed);
        EXPECT_EQ(memory.Remove(name), kFailed) << "ended";
    }
    const std::string x(99999, 'x');
    const std::string names[] = {own, own + "/", own + "\xff", own + x + 'x', own + x + 'y'};
    std::vector<kelSharedMemory> segments(std::size(names));
    for (std::size_t at = 0; at < segments.size(); ++at) {
        ASSERT_EQ(segments[at].Create(sizeof at, names[at]), kOk) << at;
        At<std::size_t>(segments[at]) = at;
    }
    for (std::size_t at = 0; at < segments.size(); ++at) {
        kelSharedMemory memory;
        ASSERT_EQ(memory.Attach(names[at]), kOk);
        EXPECT_EQ(At<std::size_t>(memory), at);
    }
}

/// Runs `work` in a process of its own, which ends with its result.
class Child {
public:
    explicit Child(const std::function<int()>& work) : pid_(fork()) {
        if (pid_ == 0) {
            alarm(20);
            _exit(work());
        }
    }
    ~Child() {
        if (pid_ > 0) {
            Kill();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Kill() {
        ASSERT_GT(pid_, 0);
        kill(pid_, SIGKILL);
        Wait();
    }
    int Wait() {
        int status = -1;
        waitpid(std::exchange(pid_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_;
};

bool AttachSoon(kelSharedMemory& memory, const std::string& name) {
    for (int round = 0; round < 2000; ++round) {
        if (memory.Attach(name) == kOk) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

TEST_F(kelSharedMemoryStates, TwoProcesses_ExchangeData) {
    struct Board {
        std::atomic<int> question;
        std::atomic<int> answer;
    };
    kelSharedMemory memory;
    Child child([&] {
        kelSharedMemory theirs;
        if (!AttachSoon(theirs, own)) {
            return 1;
        }
        auto& board = At<Board>(theirs);
        while (board.question == 0) {
        }
        board.answer = board.question * 2;
        return theirs.GetSize() == sizeof(Board) ? 0 : 2;
    });
    ASSERT_EQ(memory.Create(sizeof(Board), own), kOk);
    At<Board>(memory).question = 21;
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(At<Board>(memory).answer, 42);
    EXPECT_TRUE(Stands(own)) << "a process that ends attached leaves the name";
}

TEST_F(kelSharedMemoryStates, AKilledCreator_LeavesASegmentThatRemoveClears) {
    Child creator([&] {
        kelSharedMemory memory;
        memory.Create(8, own);
        At<int>(memory) = 7;
        pause();
        return 0;
    });
    kelSharedMemory survivor;
    ASSERT_TRUE(AttachSoon(survivor, own));
    while (At<std::atomic<int>>(survivor) != 7) {
    }
    creator.Kill();
    kelSharedMemory next;
    EXPECT_EQ(next.Create(8, own), kFailed);
    EXPECT_TRUE(Stands(own));
    kelSharedMemory cleaner;
    EXPECT_EQ(cleaner.Remove(own), kOk);
    EXPECT_FALSE(cleaner.IsValid());
    EXPECT_EQ(next.Create(8, own), kOk);
    EXPECT_EQ(At<int>(next), 0);
    EXPECT_EQ(At<int>(survivor), 7) << "who is attached keeps the old one";
}

TEST_F(kelSharedMemoryStates, Threads_OneOfManyCreatorsWinsAndNobodySeesAHalf) {
    constexpr int kThreads = 4;
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> created{0};
        std::atomic<int> wrong{0};
        std::vector<kelSharedMemory> objects(kThreads);
        std::vector<std::thread> threads;
        for (kelSharedMemory& object : objects) {
            threads.emplace_back([&] {
                created += object.Create(100, own) == kOk;
                kelSharedMemory attached;
                wrong += attached.Attach(own) == kOk && attached.GetSize() != 100;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(created, 1);
        EXPECT_EQ(wrong, 0);
    }
}

}  // namespace
