#pragma once

#include <cstdint>

#include "support/Testing.h"

/// Failures made to happen. The test program that links this file has the calls that
/// tests/CMakeLists.txt lists, and `operator new`, routed through it.
namespace zukel::test {

enum class FaultSource {
    None,
    Apr,     ///< Calls of APR, which return `APR_EGENERAL`.
    System,  ///< Calls that the platform folder makes, which tell an error.
    Memory   ///< `operator new`, which throws `std::bad_alloc`.
};

/// A fault that strikes calls which are made within `Counting(true)`.
struct FaultPlan {
    FaultSource source = FaultSource::None;
    int nth = 1;                   ///< The call of the source that it strikes first.
    bool once = false;             ///< That one alone, or all from there on.
    int error = EIO;               ///< A failing system call's reason.
    int calls = 0;                 ///< How many the source has seen.
    std::string_view struck = "";  ///< Name of the first call that failed; empty if none has.
};

/// The one that is armed in this thread, and arming it.
extern thread_local FaultPlan fault;
Guard Arm(const FaultPlan& plan);

/// Installs a hook that runs before each counting call of this name, or of any name if it is empty,
/// in this thread, in addition to an armed fault.
/// @param answer gives 0 to let the call go on, or the error that it fails with.
Guard AtCall(const char* call, std::function<int()> answer);

/// Lets a counting `read` or `write` of the calling thread move fewer bytes than it is asked for.
/// @param part gives how many of the bytes it moves, or 0 for an interruption by a signal.
Guard ShortTransfers(std::function<std::size_t(std::size_t)> part);

/// A stretch in which calls count, or within one a stretch of the test's own work, which does not.
Guard Counting(bool on);

/// Makes the call under test, with the armed fault counting.
template <typename Call>
auto UnderFaults(Call call) {
    const Guard counting = Counting(true);
    return call();
}

/// How many users and pools of APR, blocks of `operator new` and descriptors there are.
std::array<std::intmax_t, 4> WhatIsHeld();

}  // namespace zukel::test
