#include "kelAtomic.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kelBarrier.h"
#include "kelCondition.h"
#include "kelMutex.h"
#include "kelStatus.h"
#include "kelString.h"
#include "kelThread.h"

namespace {

TEST(kelAtomic, Counts_GiveTheValueBeforeAndAfter) {
    kelAtomic counter;
    EXPECT_EQ(counter.Increment(), 0U);
    EXPECT_EQ(counter.Increment(), 1U);
    EXPECT_EQ(counter.Decrement(), 1);
    EXPECT_EQ(counter.Decrement(), 0);
    EXPECT_EQ(counter.Decrement(), -1);
    EXPECT_EQ(counter.Increment(), 0xFFFFFFFFU) << "wraps both ways";
    EXPECT_EQ(counter.Increment(), 0U);
}

TEST(kelAtomic, Assignment_CountsOnOneCounter) {
    kelAtomic counter;
    {
        kelAtomic first;
        first.Increment();
        counter = first;
        counter = *&counter;
        EXPECT_EQ(counter.Increment(), 1U);
        EXPECT_EQ(first.Increment(), 2U);
    }
    EXPECT_EQ(counter.Increment(), 3U) << "the counter outlives its first object";
}

TEST(kelAtomic, Threads_LoseNoCount) {
    constexpr unsigned kThreads = 4;
    constexpr unsigned kRounds = 20000;
    kelAtomic counter;
    kelAtomic alias;
    alias = counter;
    unsigned plain = 0;
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&] {
            for (unsigned round = 0; round < kRounds; ++round) {
                alias.Increment();
                counter.Increment();
                counter.Decrement();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    plain = counter.Increment();
    EXPECT_EQ(plain, kThreads * kRounds);
}

int Format(char* buffer, int size, std::string format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = kelString::vsnprintf(buffer, size, format.data(), arguments);
    va_end(arguments);
    return result;
}

TEST(kelString, vsnprintf_CutsAndTells) {
    struct Row {
        int size, result;
        const char* text;
    };
    for (const Row& row : {Row{0, 10, nullptr},
                           {1, 0, ""},
                           {4, 3, "012"},
                           {10, 9, "012345678"},
                           {11, 10, "0123456789"},
                           {100, 10, "0123456789"}}) {
        char buffer[100];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(Format(buffer, row.size, "%s%d", "0123456", 789), row.result) << row.size;
        if (row.text != nullptr) {
            EXPECT_STREQ(buffer, row.text);
        }
        EXPECT_EQ(buffer[row.text == nullptr ? 0 : std::strlen(row.text) + 1], '#')
            << "beyond its text";
    }
    EXPECT_EQ(Format(nullptr, 0, "%d", 12345), 5);
    EXPECT_EQ(Format(nullptr, 0, ""), 0);
}

/// An application's classes over the interfaces.
class Lock : public kelMutex {
public:
    using kelMutex::kelMutex;
    ~Lock() override { ++ended; }
    int Trylock() override { return kelStatusOk; }
    static int ended;
};
int Lock::ended = 0;

class Gate : public kelBarrier {
public:
    void Block(unsigned long long count) override { blocked += count; }
    void Reset() override { blocked = 0; }
    unsigned long long blocked = 0;
};

class Work : public kelThread {
public:
    using kelThread::kelThread;
    void ThreadBody() override { done = true; }
    bool done = false;
};

TEST(kelInterfaces, TheClassesThemselvesDoNothing) {
    kelMutex mutex;
    kelMutex second(nullptr);
    second = mutex;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(second.Lock(), kelStatusFailed);
        EXPECT_EQ(mutex.Trylock(), kelStatusFailed);
        EXPECT_EQ(mutex.Unlock(), kelStatusFailed);
    }
    kelBarrier barrier;
    kelBarrier counted(3);
    kelBarrier withLibrary(nullptr, ~std::size_t{0});
    counted = withLibrary;
    barrier = counted;
    barrier.Block(2);  // returns, or the test does not end
    barrier.Reset();
    barrier.Block(~0ULL);
    kelCondition condition;
    kelCondition other(nullptr);
    other = condition;
}

TEST(kelInterfaces, ADerivedClass_IsReachedThroughItsBase) {
    std::unique_ptr<kelMutex> mutex = std::make_unique<Lock>(nullptr);
    EXPECT_EQ(mutex->Trylock(), kelStatusOk);
    EXPECT_EQ(mutex->Lock(), kelStatusFailed);
    Lock::ended = 0;
    mutex.reset();
    EXPECT_EQ(Lock::ended, 1);
    Gate gate;
    kelBarrier& barrier = gate;
    barrier.Block(2);
    EXPECT_EQ(gate.blocked, 2U);
    barrier.Reset();
    EXPECT_EQ(gate.blocked, 0U);
    Work work(nullptr);
    Work copy;
    copy = work;
    static_cast<kelThread&>(work).ThreadBody();
    EXPECT_TRUE(work.done);
}

}  // namespace
