#include "support/Faults.h"

#include <apr_errno.h>
#ifndef _WIN32
#include <sys/syscall.h>
#else
#include <windows.h>
#endif

#include <atomic>
#include <new>

namespace zukel::test {

thread_local FaultPlan fault;

namespace {

thread_local std::pair<std::string_view, std::function<int()>> atCall;
thread_local std::function<std::size_t(std::size_t)> partOf;
thread_local bool counting = false;
/// Whether any thread does. Windows: before, a thread's own variables may still be in the making.
std::atomic<int> stretches{0};
thread_local std::intmax_t blocks = 0;  ///< Of `operator new` that have not been given back.
std::atomic<long> users{0};             ///< Starts of the runtime less its stops.
std::atomic<long> pools{0};             ///< That were made and not destroyed.

std::intmax_t Descriptors() {
#ifndef _WIN32
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
#else
    DWORD count = 0;  // and stays so under Wine 8
    EXPECT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &count));
    return count;
#endif
}

}  // namespace

std::array<std::intmax_t, 4> WhatIsHeld() {
    return {users.load(), pools.load(), blocks, Descriptors()};
}

Guard Arm(const FaultPlan& plan) {
    fault = plan;
    return Guard([] { fault.source = FaultSource::None; });
}

Guard AtCall(const char* call, std::function<int()> answer) {
    std::pair<std::string_view, std::function<int()>> hook{call, std::move(answer)};
    return Guard([former = std::exchange(atCall, std::move(hook))] { atCall = former; });
}

Guard ShortTransfers(std::function<std::size_t(std::size_t)> part) {
    partOf = std::move(part);
    return Guard([] { partOf = {}; });
}

std::size_t PartOf(std::size_t size) noexcept {
    return counting && partOf && size > 0 ? partOf(size) : size;
}

Guard Counting(bool on) {
    ++stretches;
    return Guard([former = std::exchange(counting, on)] {
        counting = former;
        --stretches;
    });
}

int ErrorOf(FaultSource source, const char* call) noexcept {
    if (stretches == 0 || !counting) {
        return 0;
    }
    if (atCall.first == call || (atCall.first == "" && atCall.second)) {
        const Guard ownWork = Counting(false);
        const Guard same([former = errno] { errno = former; });
        if (const int error = atCall.second()) {
            return error;
        }
    }
    if (fault.source != source) {
        return 0;
    }
    ++fault.calls;
    const bool strikes = fault.once ? fault.calls == fault.nth : fault.calls >= fault.nth;
    if (strikes && fault.struck.empty()) {
        fault.struck = call;
    }
    return strikes ? fault.error : 0;
}

}  // namespace zukel::test

using namespace zukel::test;

using Word = std::intptr_t;
using Result = std::intmax_t;

// All arguments of the calls that are wrapped here are integers or pointers, and so are the
// results: eight words carry those of any of them, whatever their types. An offset may take two.
#define WORDS Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h
#define WRAPPED(name)                       \
    extern "C" Result __real_##name(WORDS); \
    extern "C" Result __wrap_##name(WORDS)

// FAILS(source, symbol, name, failure) fails without making the call; ENDS gives up a handle and
// then tells a failure; TRANSFERS moves a part of its bytes on demand.
#define STRUCK(source, symbol, name, failure, calls)                                 \
    WRAPPED(symbol) {                                                                \
        const int error = ErrorOf(FaultSource::source, #name);                       \
        const Result result =                                                        \
            error == 0 || calls ? __real_##symbol(a, b, c, d, e, f, g, h) : failure; \
        errno = error != 0 ? error : errno;                                          \
        return error != 0 ? failure : result;                                        \
    }
#define TRANSFERS(source, symbol, name, failure)                                  \
    WRAPPED(symbol) {                                                             \
        const int error = ErrorOf(FaultSource::source, #name);                    \
        const auto size = static_cast<Word>(PartOf(static_cast<std::size_t>(c))); \
        if (error != 0 || (size == 0 && c != 0)) {                                \
            errno = error != 0 ? error : EINTR;                                   \
            return failure;                                                       \
        }                                                                         \
        return __real_##symbol(a, b, size, d, e, f, g, h);                        \
    }
#define FAILS(source, symbol, name, failure) STRUCK(source, symbol, name, failure, false)
#define ENDS(source, symbol, name, failure) STRUCK(source, symbol, name, failure, true)
#ifdef _WIN32
// A DLL is called through the pointer that the linker makes for the call, so that is what is
// wrapped.
#define TEN_WORDS WORDS, Word i, Word j
#define FAILS_IN_DLL(symbol, name, failure, calls)                      \
    extern "C" Word (*__real___imp_##name)(TEN_WORDS);                  \
    extern "C" Word (*__wrap___imp_##name)(TEN_WORDS);                  \
    Word (*__wrap___imp_##name)(TEN_WORDS) = [](TEN_WORDS) -> Word {    \
        const DWORD former = GetLastError();                            \
        const int error = ErrorOf(FaultSource::System, #name);          \
        SetLastError(former);                                           \
        Word result = failure;                                          \
        if (error == 0 || calls) {                                      \
            result = __real___imp_##name(a, b, c, d, e, f, g, h, i, j); \
        }                                                               \
        if (error != 0) {                                               \
            SetLastError(static_cast<DWORD>(error));                    \
        }                                                               \
        return error != 0 ? failure : result;                           \
    };
#endif
#include "WrappedCalls.inc"

#ifndef _WIN32
// By number, those that the C library's functions make too have their names.
WRAPPED(syscall) {
    const char* const call = a == SYS_openat  ? "open"
                             : a == SYS_close ? "close"
                             : a == SYS_read  ? "read"
                             : a == SYS_write ? "write"
                                              : "syscall";
    const bool transfers = a == SYS_read || a == SYS_write || a == SYS_pread64 || a == SYS_pwrite64;
    const int error = ErrorOf(FaultSource::System, call);
    const auto size = transfers ? static_cast<Word>(PartOf(static_cast<std::size_t>(d))) : d;
    const bool interrupted = transfers && size == 0 && d != 0;
    if (interrupted || (error != 0 && a != SYS_close)) {
        errno = interrupted ? EINTR : error;
        return -1;
    }
    const Result result = __real_syscall(a, b, c, size, e, f, g, h);
    errno = error != 0 ? error : errno;
    return error != 0 ? -1 : result;
}
#endif

// The runtime counts a user before it tries to start, also when it then fails.
WRAPPED(apr_initialize) {
    ++zukel::test::users;
    const Result status = __real_apr_initialize(a, b, c, d, e, f, g, h);
    return ErrorOf(FaultSource::Runtime, "apr_initialize") != 0 ? APR_EGENERAL : status;
}
WRAPPED(apr_terminate) {
    --zukel::test::users;
    return __real_apr_terminate(a, b, c, d, e, f, g, h);
}

WRAPPED(apr_pool_create_ex) {
    const int error = ErrorOf(FaultSource::Runtime, "apr_pool_create_ex");
    const Result status = error != 0 ? error : __real_apr_pool_create_ex(a, b, c, d, e, f, g, h);
    zukel::test::pools += static_cast<apr_status_t>(status) == APR_SUCCESS ? 1 : 0;
    return status;
}
WRAPPED(apr_pool_destroy) {
    --zukel::test::pools;
    return __real_apr_pool_destroy(a, b, c, d, e, f, g, h);
}

// The other forms come to these, but for the sanitizers' own of arrays, which do not fail.
void* operator new(std::size_t size) {
    void* const block =
        ErrorOf(FaultSource::Memory, "operator new") != 0 ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++zukel::test::blocks;
    return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* block) noexcept {
    zukel::test::blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
