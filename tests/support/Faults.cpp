#include "support/Faults.h"

#include <apr_errno.h>
#include <apr_pools.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
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
    bool counting = false;
    FaultSource source = FaultSource::Runtime;
    FaultReach reach = FaultReach::Once;
    int error = EIO;
    int nth = 0;
    int calls = 0;
    const char* struck = nullptr;  ///< Name of the first call that failed.
};

thread_local Plan plan;
thread_local const AtCall* atCall = nullptr;
thread_local long blocks = 0;  ///< Of `operator new` that have not been given back.
std::atomic<int> users{0};     ///< Starts of the runtime less its stops.
std::atomic<int> pools{0};     ///< Made and not destroyed.

using Held = std::array<long, 4>;

Held WhatIsHeld() {
    const long blocksNow = blocks;
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return {users.load(), pools.load(), blocksNow, std::distance(begin(all), end(all))};
}

}  // namespace

Faults::Faults(FaultSource source, int nth, FaultReach reach, int error) {
    plan = {true, false, source, reach, error, nth, 0, nullptr};
}

Faults::~Faults() {
    plan.armed = false;
}

bool Faults::Struck() const {
    return plan.struck != nullptr;
}

bool Faults::IsSingle() {
    return plan.reach == FaultReach::Once;
}

FaultSource Faults::Source() {
    return plan.source;
}

AtCall::AtCall(const char* call, std::function<int()> answer)
    : call_(call), answer_(std::move(answer)) {
    atCall = this;
}

AtCall::~AtCall() {
    atCall = nullptr;
}

FaultWindow::FaultWindow() {
    plan.counting = true;
}

FaultWindow::~FaultWindow() {
    plan.counting = false;
}

FaultPause::FaultPause() : counting_(plan.counting) {
    plan.counting = false;
}

FaultPause::~FaultPause() {
    plan.counting = counting_;
}

int Faults::ErrorOf(FaultSource source, const char* call) noexcept {
    if (!plan.counting) {
        return 0;
    }
    if (atCall != nullptr && std::strcmp(atCall->call_, call) == 0) {
        const FaultPause ownWork;
        if (const int error = atCall->answer_()) {
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

void WalkFaults(const std::string& name, const std::function<bool()>& step) {
    constexpr int kMost = 1000;
    step();  // what is made once and kept is made here
    constexpr auto kOnce = FaultReach::Once, kOn = FaultReach::FromThenOn;
    const std::tuple<FaultSource, FaultReach, int> walks[] = {
        {FaultSource::Runtime, kOnce, EIO},  {FaultSource::Runtime, kOn, EIO},
        {FaultSource::Memory, kOnce, EIO},   {FaultSource::Memory, kOn, EIO},
        {FaultSource::System, kOnce, EIO},   {FaultSource::System, kOn, EIO},
        {FaultSource::System, kOnce, EPERM}, {FaultSource::System, kOnce, ENOSYS},
        {FaultSource::System, kOnce, EINTR}, {FaultSource::System, kOn, EACCES}};
    int struckSteps = 0;
    for (const auto& [source, reach, error] : walks) {
        bool struck = true;
        for (int nth = 1; struck && nth < kMost; ++nth) {
            const Held before = WhatIsHeld();
            const Faults faults(source, nth, reach, error);
            const bool succeeded = step();
            struck = faults.Struck();
            struckSteps += struck ? 1 : 0;
            EXPECT_TRUE(struck || succeeded);
            EXPECT_EQ(WhatIsHeld(), before) << "users, pools, blocks, descriptors";
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

using zukel::test::Faults;
using zukel::test::FaultSource;

// FAILS(source, type, name, parameters, arguments, failure) fails without making the call.
#define FAILS(source, type, name, parameters, arguments, failure)      \
    extern "C" type __real_##name parameters;                          \
    extern "C" type __wrap_##name parameters {                         \
        const int error = Faults::ErrorOf(FaultSource::source, #name); \
        errno = error != 0 ? error : errno;                            \
        return error != 0 ? (type)(failure) : __real_##name arguments; \
    }
// ENDS(source, type, name, parameters, arguments, failure) gives up a handle and then tells a
// failure.
#define ENDS(source, type, name, parameters, arguments, failure)       \
    extern "C" type __real_##name parameters;                          \
    extern "C" type __wrap_##name parameters {                         \
        const int error = Faults::ErrorOf(FaultSource::source, #name); \
        const type result = __real_##name arguments;                   \
        errno = error != 0 ? error : errno;                            \
        return error != 0 ? (type)(failure) : result;                  \
    }
#include "support/RuntimeCalls.inc"
#include "support/SystemCalls.inc"

// The runtime counts a user before it tries to start, also when it then fails.
extern "C" apr_status_t __real_apr_initialize();
extern "C" apr_status_t __wrap_apr_initialize() {
    ++zukel::test::users;
    const apr_status_t status = __real_apr_initialize();
    return Faults::ErrorOf(FaultSource::Runtime, "apr_initialize") != 0 ? APR_EGENERAL : status;
}
extern "C" void __real_apr_terminate();
extern "C" void __wrap_apr_terminate() {
    --zukel::test::users;
    __real_apr_terminate();
}

extern "C" apr_status_t __real_apr_pool_create_ex(apr_pool_t** pool, apr_pool_t* parent,
                                                  apr_abortfunc_t abort, apr_allocator_t* from);
extern "C" apr_status_t __wrap_apr_pool_create_ex(apr_pool_t** pool, apr_pool_t* parent,
                                                  apr_abortfunc_t abort, apr_allocator_t* from) {
    if (Faults::ErrorOf(FaultSource::Runtime, "apr_pool_create_ex") != 0) {
        return APR_EGENERAL;
    }
    ++zukel::test::pools;
    return __real_apr_pool_create_ex(pool, parent, abort, from);
}
extern "C" void __real_apr_pool_destroy(apr_pool_t* pool);
extern "C" void __wrap_apr_pool_destroy(apr_pool_t* pool) {
    --zukel::test::pools;
    __real_apr_pool_destroy(pool);
}

// Every form that the library uses goes through this pair.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block =
        Faults::ErrorOf(FaultSource::Memory, "operator new") != 0 ? nullptr : std::malloc(size);
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
