#include "support/Faults.h"

#include <apr_errno.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>

namespace zukel::test {

namespace {

struct Plan {
    bool armed = false;
    bool counting = false;
    FaultSource source = FaultSource::Runtime;
    FaultReach reach = FaultReach::Once;
    int nth = 0;
    int calls = 0;
    const char* struck = nullptr;  ///< Name of the first call that failed.
};

thread_local Plan plan;
thread_local const AtCall* atCall = nullptr;
std::atomic<int> runtimeUsers{0};  ///< Starts of the runtime less its stops.

int OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<int>(std::distance(begin(all), end(all))) - 1;  // less the iterator's own
}

}  // namespace

Faults::Faults(FaultSource source, int nth, FaultReach reach) {
    plan = {true, false, source, reach, nth, 0, nullptr};
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

AtCall::AtCall(const char* call, std::function<int()> answer)
    : call_(call), answer_(std::move(answer)) {
    atCall = this;
}

AtCall::~AtCall() {
    atCall = nullptr;
}

int AtCall::ErrorOf(const char* call) {
    if (!plan.counting || atCall == nullptr || std::strcmp(atCall->call_, call) != 0) {
        return 0;
    }
    const FaultPause ownWork;
    return atCall->answer_();
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

bool Faults::Strikes(FaultSource source, const char* call) noexcept {
    if (!plan.armed || !plan.counting || plan.source != source) {
        return false;
    }
    ++plan.calls;
    const bool strikes =
        plan.reach == FaultReach::Once ? plan.calls == plan.nth : plan.calls >= plan.nth;
    if (strikes && plan.struck == nullptr) {
        plan.struck = call;
    }
    return strikes;
}

void WalkFaults(const std::string& name, FaultSource source,
                const std::function<Outcome()>& operation) {
    constexpr int kMost = 1000;
    for (const FaultReach reach : {FaultReach::Once, FaultReach::FromThenOn}) {
        int nth = 1;
        for (bool struck = true; struck; ++nth) {
            ASSERT_LT(nth, kMost) << name << " does not end";
            const int users = runtimeUsers.load();
            const int descriptors = OpenDescriptors();
            Outcome outcome = Outcome::Failed;
            {
                const Faults faults(source, nth, reach);
                SCOPED_TRACE(name + ", call " + std::to_string(nth) +
                             (reach == FaultReach::Once ? " fails" : " and all after it fail"));
                try {
                    outcome = operation();
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(source, FaultSource::Memory);
                }
                struck = faults.Struck();
                EXPECT_EQ(runtimeUsers.load(), users) << plan.struck;
                EXPECT_EQ(OpenDescriptors(), descriptors) << plan.struck;
                if (!struck) {
                    EXPECT_EQ(outcome, Outcome::Succeeded);
                }
            }
        }
        EXPECT_GT(nth, 2) << name << " makes no such call: nothing was walked";
    }
}

}  // namespace zukel::test

using zukel::test::AtCall;
using zukel::test::Faults;
using zukel::test::FaultSource;

// RUNTIME_CALL(name, parameters, arguments) fails without reaching the runtime.
#define RUNTIME_CALL(name, parameters, arguments)                                      \
    extern "C" apr_status_t __real_##name parameters;                                  \
    extern "C" apr_status_t __wrap_##name parameters {                                 \
        return Faults::Strikes(FaultSource::Runtime, #name) ? APR_EGENERAL             \
                                                            : __real_##name arguments; \
    }
// RUNTIME_END(name, parameters, arguments) gives up a handle: it does so and then tells a failure.
#define RUNTIME_END(name, parameters, arguments)                           \
    extern "C" apr_status_t __real_##name parameters;                      \
    extern "C" apr_status_t __wrap_##name parameters {                     \
        const bool strikes = Faults::Strikes(FaultSource::Runtime, #name); \
        const apr_status_t status = __real_##name arguments;               \
        return strikes ? APR_EGENERAL : status;                            \
    }
#include "support/RuntimeCalls.inc"

// The runtime counts a user before it tries to start, also when it then fails.
extern "C" apr_status_t __real_apr_initialize();
extern "C" apr_status_t __wrap_apr_initialize() {
    const bool strikes = Faults::Strikes(FaultSource::Runtime, "apr_initialize");
    ++zukel::test::runtimeUsers;
    const apr_status_t status = __real_apr_initialize();
    return strikes ? APR_EGENERAL : status;
}

extern "C" void __real_apr_terminate();
extern "C" void __wrap_apr_terminate() {
    --zukel::test::runtimeUsers;
    __real_apr_terminate();
}

// SYSTEM_CALL(type, name, parameters, arguments) gives -1 with EIO, or with the error that the
// system is made to lack the call with.
#define SYSTEM_CALL(type, name, parameters, arguments)                   \
    extern "C" type __real_##name parameters;                            \
    extern "C" type __wrap_##name parameters {                           \
        const int error = AtCall::ErrorOf(#name);                        \
        if (error != 0 || Faults::Strikes(FaultSource::System, #name)) { \
            errno = error != 0 ? error : EIO;                            \
            return (type)-1;                                             \
        }                                                                \
        return __real_##name arguments;                                  \
    }
// SYSTEM_END(type, name, parameters, arguments) gives up a handle: it does so and then tells EIO.
#define SYSTEM_END(type, name, parameters, arguments)                     \
    extern "C" type __real_##name parameters;                             \
    extern "C" type __wrap_##name parameters {                            \
        const bool strikes = Faults::Strikes(FaultSource::System, #name); \
        const type result = __real_##name arguments;                      \
        if (strikes) {                                                    \
            errno = EIO;                                                  \
        }                                                                 \
        return strikes ? static_cast<type>(-1) : result;                  \
    }
// SYSTEM_POINTER(type, name, parameters, arguments) gives null with ENOMEM.
#define SYSTEM_POINTER(type, name, parameters, arguments)  \
    extern "C" type __real_##name parameters;              \
    extern "C" type __wrap_##name parameters {             \
        if (Faults::Strikes(FaultSource::System, #name)) { \
            errno = ENOMEM;                                \
            return nullptr;                                \
        }                                                  \
        return __real_##name arguments;                    \
    }
// SYSTEM_STATUS(name, parameters, arguments) gives EIO as its result.
#define SYSTEM_STATUS(name, parameters, arguments)                                          \
    extern "C" int __real_##name parameters;                                                \
    extern "C" int __wrap_##name parameters {                                               \
        return Faults::Strikes(FaultSource::System, #name) ? EIO : __real_##name arguments; \
    }
#include "support/SystemCalls.inc"

void* operator new(std::size_t size) {
    void* const block =
        Faults::Strikes(FaultSource::Memory, "operator new") ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
// Where the sanitizer has its own of these, it would not go through the one above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Faults::Strikes(FaultSource::Memory, "operator new") ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
