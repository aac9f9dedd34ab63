#pragma once

#include <cerrno>
#include <functional>
#include <string>

/// Failures made to happen. The test program that links this file has every call in
/// RuntimeCalls.inc and SystemCalls.inc, and `operator new`, routed through it.
namespace zukel::test {

enum class FaultSource {
    Runtime,  ///< Calls of the runtime, which give `APR_EGENERAL`.
    System,   ///< Calls that the platform folder makes, which tell an error.
    Memory    ///< `operator new`, which throws `std::bad_alloc`.
};

/// How often an armed fault strikes.
enum class FaultReach { Once, FromThenOn };

/// Arms one fault for the calling thread for as long as it lives. Calls count only within
/// `UnderFaults`.
class Faults {
public:
    /// @param error tells a failing system call's reason.
    Faults(FaultSource source, int nth, FaultReach reach, int error = EIO);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// Whether the nth call was made, and so failed.
    bool Struck() const;

    /// Whether one fault alone is armed. What follows it then works, clearing up included.
    static bool IsSingle();

    /// What kind of call the armed fault strikes.
    static FaultSource Source();

    /// Of the wrappers: counts a call, and gives the error that it is to fail with, or 0.
    static int ErrorOf(FaultSource source, const char* call) noexcept;
};

/// Does something of the test's choice before every call of one name, for the calling thread
/// and within `UnderFaults`, beside what an armed fault does.
class AtCall {
public:
    /// @param answer gives 0 to let the call go on, or the error that it fails with.
    AtCall(const char* call, std::function<int()> answer);
    ~AtCall();
    AtCall(const AtCall&) = delete;
    AtCall& operator=(const AtCall&) = delete;

private:
    friend class Faults;
    const char* call_;
    std::function<int()> answer_;
};

/// The stretch of a test in which an armed fault counts and strikes.
class FaultWindow {
public:
    FaultWindow();
    ~FaultWindow();
    FaultWindow(const FaultWindow&) = delete;
    FaultWindow& operator=(const FaultWindow&) = delete;
};

/// A stretch within a window that does not count: the test's own work below the code under test.
class FaultPause {
public:
    FaultPause();
    ~FaultPause();
    FaultPause(const FaultPause&) = delete;
    FaultPause& operator=(const FaultPause&) = delete;

private:
    bool counting_;
};

/// Makes the call under test, with the armed fault counting.
template <typename Call>
auto UnderFaults(Call call) {
    const FaultWindow window;
    return call();
}

/// Runs `step` again and again with the nth call of each source failing, n from 1 until the step
/// passes without a fault, once and from there on, and of the system also with the errors by which
/// it refuses, lacks a call, or is interrupted. The step makes its call through `UnderFaults`,
/// checks what a failure must leave behind, and tells whether the call succeeded, which without a
/// fault it must. After each step the runtime's users, the pools, the blocks of `operator new` and
/// the descriptors must be back where they were.
void WalkFaults(const std::string& name, const std::function<bool()>& step);

}  // namespace zukel::test
