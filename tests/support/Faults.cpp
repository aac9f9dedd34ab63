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
std::atomic<long> users{0};             ///< Starts of APR less its stops.
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

Guard Counting(bool on) {
    ++stretches;
    return Guard([former = std::exchange(counting, on)] {
        counting = former;
        --stretches;
    });
}

namespace {

using Word = std::intptr_t;
using Result = std::intmax_t;

/// Counts a call of the library.
///
/// @param size of a transfer: receives how many bytes it is to move.
/// @returns the error that the call is to fail with, or 0.
int ErrorOf(FaultSource source, const char* call, Word* size = nullptr) noexcept {
    if (stretches == 0 || !counting) {
        return 0;
    }
    if (partOf && size != nullptr && *size > 0) {
        *size = static_cast<Word>(partOf(static_cast<std::size_t>(*size)));
        if (*size == 0) {
            return EINTR;
        }
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

#ifndef _WIN32
/// Calls that are made by number have the names of those that the C library makes too.
const char* NameOf(Word number) {
    return number == SYS_openat  ? "open"
           : number == SYS_close ? "close"
           : number == SYS_read  ? "read"
           : number == SYS_write ? "write"
                                 : "syscall";
}
#endif

}  // namespace

}  // namespace zukel::test

using namespace zukel::test;

// All arguments of the calls that are wrapped here are integers or pointers, and so are the
// results: eight words carry those of any of them, whatever their types. An offset may take two.
#define WORDS Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h
#define WRAPPED(name)                       \
    extern "C" Result __real_##name(WORDS); \
    extern "C" Result __wrap_##name(WORDS)

// FAILS fails without making the call; ENDS gives up a handle and then reports a failure; TRANSFERS
// moves a part of its bytes on demand.
#define STRUCK(source, symbol, call, failure, calls, size)                           \
    WRAPPED(symbol) {                                                                \
        const int error = ErrorOf(FaultSource::source, call, size);                  \
        const Result result =                                                        \
            error == 0 || calls ? __real_##symbol(a, b, c, d, e, f, g, h) : failure; \
        errno = error != 0 ? error : errno;                                          \
        return error != 0 ? failure : result;                                        \
    }
#define FAILS(source, symbol, name, failure) STRUCK(source, symbol, #name, failure, false, nullptr)
#define ENDS(source, symbol, name, failure) STRUCK(source, symbol, #name, failure, true, nullptr)
#define TRANSFERS(source, symbol, name, failure) STRUCK(source, symbol, #name, failure, false, &c)
#ifdef _WIN32
// A DLL is called through the pointer that the linker makes for the call, so that is what is
// wrapped.
#define TEN_WORDS WORDS, Word i, Word j
#define FAILS_IN_DLL(symbol, name, failure, calls)                                             \
    extern "C" Word (*__real___imp_##name)(TEN_WORDS);                                         \
    extern "C" Word (*__wrap___imp_##name)(TEN_WORDS);                                         \
    Word (*__wrap___imp_##name)(TEN_WORDS) = [](TEN_WORDS) -> Word {                           \
        const DWORD former = GetLastError();                                                   \
        const int error = ErrorOf(FaultSource::System, #name);                                 \
        SetLastError(former);                                                                  \
        const Word result =                                                                    \
            error == 0 || calls ? __real___imp_##name(a, b, c, d, e, f, g, h, i, j) : failure; \
        if (error != 0) {                                                                      \
            SetLastError(static_cast<DWORD>(error));                                           \
        }                                                                                      \
        return error != 0 ? failure : result;                                                  \
    };
#endif
#include "WrappedCalls.inc"

#ifndef _WIN32
STRUCK(System, syscall, NameOf(a), -1, a == SYS_close,
       a == SYS_read || a == SYS_write || a == SYS_pread64 || a == SYS_pwrite64 ? &d : nullptr)
#endif

// APR counts a user before it tries to start, even if that fails.
WRAPPED(apr_initialize) {
    ++zukel::test::users;
    const Result status = __real_apr_initialize(a, b, c, d, e, f, g, h);
    return ErrorOf(FaultSource::Apr, "apr_initialize") != 0 ? APR_EGENERAL : status;
}
WRAPPED(apr_terminate) {
    --zukel::test::users;
    return __real_apr_terminate(a, b, c, d, e, f, g, h);
}

WRAPPED(apr_pool_create_ex) {
    const int error = ErrorOf(FaultSource::Apr, "apr_pool_create_ex");
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
