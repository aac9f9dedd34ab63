#include "support/Faults.h"

#include <apr_errno.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <tuple>

namespace zukel::test {

namespace {

struct Plan {
    bool armed = false;
    FaultSource source = FaultSource::Runtime;
    FaultReach reach = FaultReach::Once;
    int error = EIO;
    int nth = 0;
    int calls = 0;
    const char* struck = nullptr;  ///< Name of the first call that failed.
};

struct Answer {
    const char* call = "";
    std::function<int()> answer;
};

thread_local Plan plan;
thread_local Answer atCall;
thread_local bool counting = false;
thread_local std::intmax_t blocks = 0;  ///< Of `operator new` that have not been given back.
std::atomic<long> users{0};             ///< Starts of the runtime less its stops.

using Held = std::array<std::intmax_t, 3>;

Held WhatIsHeld() {
    const std::intmax_t blocksNow = blocks;
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return {users.load(), blocksNow, std::distance(begin(all), end(all))};
}

}  // namespace

Guard Fault(FaultSource source, int nth, FaultReach reach, int error) {
    plan = {true, source, reach, error, nth, 0, nullptr};
    return Guard([] { plan.armed = false; });
}

bool FaultStruck() {
    return plan.struck != nullptr;
}

bool FaultIsSingle() {
    return plan.reach == FaultReach::Once;
}

FaultSource FaultedSource() {
    return plan.source;
}

Guard AtCall(const char* call, std::function<int()> answer) {
    atCall = {call, std::move(answer)};
    return Guard([] { atCall = {}; });
}

Guard Counting(bool on) {
    return Guard([former = std::exchange(counting, on)] { counting = former; });
}

int ErrorOf(FaultSource source, const char* call) noexcept {
    if (!counting) {
        return 0;
    }
    if (std::strcmp(atCall.call, call) == 0) {
        const Guard ownWork = Counting(false);
        if (const int error = atCall.answer()) {
            return error;
        }
    }
    if (!plan.armed || plan.source != source) {
        return 0;
    }
    ++plan.calls;
    const bool strikes =
        plan.reach == FaultReach::Once ? plan.calls == plan.nth : plan.calls >= plan.nth;
    if (strikes && plan.struck == nullptr) {
        plan.struck = call;
    }
    return strikes ? plan.error : 0;
}

void WalkFaults(const std::string& name, const std::function<bool()>& step,
                const std::vector<int>& refusals) {
    constexpr int kMost = 1000;
    step();  // what is made once and kept is made here
    constexpr auto kOnce = FaultReach::Once, kOn = FaultReach::FromThenOn;
    std::vector<std::tuple<FaultSource, FaultReach, int>> walks = {
        {FaultSource::Runtime, kOnce, EIO}, {FaultSource::Runtime, kOn, EIO},
        {FaultSource::Memory, kOnce, EIO},  {FaultSource::Memory, kOn, EIO},
        {FaultSource::System, kOn, EIO},    {FaultSource::System, kOn, EACCES}};
    for (const int error : refusals) {
        walks.emplace_back(FaultSource::System, kOnce, error);
    }
    int struckSteps = 0;
    for (const auto& [source, reach, error] : walks) {
        bool struck = true;
        for (int nth = 1; struck && nth < kMost; ++nth) {
            const Held before = WhatIsHeld();
            const Guard fault = Fault(source, nth, reach, error);
            const bool succeeded = step();
            struck = FaultStruck();
            struckSteps += struck ? 1 : 0;
            EXPECT_TRUE(struck || succeeded);
            EXPECT_EQ(WhatIsHeld(), before) << "users, blocks, descriptors";
            if (testing::Test::HasFailure()) {
                FAIL() << name << ": call " << nth << ", " << (struck ? plan.struck : "none")
                       << (reach == kOnce ? ", failed with " : ", and the rest failed with ")
                       << error;
            }
        }
        EXPECT_FALSE(struck) << name << " does not end";
    }
    EXPECT_GT(struckSteps, 0) << name << " makes no call: nothing was walked";
}

}  // namespace zukel::test

using zukel::test::ErrorOf;
using zukel::test::FaultSource;

using Word = std::intptr_t;

// All arguments of the calls that are wrapped here are integers or pointers, and so are the
// results: six words carry those of any of them, whatever their types.
#define WORDS Word a, Word b, Word c, Word d, Word e, Word f
#define WRAPPED(name)                     \
    extern "C" Word __real_##name(WORDS); \
    extern "C" Word __wrap_##name(WORDS)

// FAILS(source, name, failure) fails without making the call.
#define FAILS(source, name, failure)                                   \
    WRAPPED(name) {                                                    \
        const int error = ErrorOf(FaultSource::source, #name);         \
        errno = error != 0 ? error : errno;                            \
        return error != 0 ? failure : __real_##name(a, b, c, d, e, f); \
    }
// ENDS(source, name, failure) gives up a handle and then tells a failure.
#define ENDS(source, name, failure)                            \
    WRAPPED(name) {                                            \
        const int error = ErrorOf(FaultSource::source, #name); \
        const Word result = __real_##name(a, b, c, d, e, f);   \
        errno = error != 0 ? error : errno;                    \
        return error != 0 ? failure : result;                  \
    }
#include "WrappedCalls.inc"

// The runtime counts a user before it tries to start, also when it then fails.
WRAPPED(apr_initialize) {
    ++zukel::test::users;
    const Word status = __real_apr_initialize(a, b, c, d, e, f);
    return ErrorOf(FaultSource::Runtime, "apr_initialize") != 0 ? APR_EGENERAL : status;
}
WRAPPED(apr_terminate) {
    --zukel::test::users;
    return __real_apr_terminate(a, b, c, d, e, f);
}

// Every form that the library uses goes through this pair.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block =
        ErrorOf(FaultSource::Memory, "operator new") != 0 ? nullptr : std::malloc(size);
    zukel::test::blocks += block != nullptr ? 1 : 0;
    return block;
}
void operator delete(void* block) noexcept {
    zukel::test::blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}
void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
// Where the sanitizer has its own of these, it would not go through the ones above.
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
void operator delete[](void* block) noexcept {
    operator delete(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    operator delete(block);
}
