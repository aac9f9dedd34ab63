#pragma once

#include <functional>
#include <string>

/// Failures made to happen. The test program that links this file has every call in
/// RuntimeCalls.inc and SystemCalls.inc, and `operator new`, routed through it.
namespace zukel::test {

enum class FaultSource {
    Runtime,  ///< Calls of the runtime, which give `APR_EGENERAL`.
    System,   ///< Calls that the platform folder makes, which give EIO.
    Memory    ///< `operator new`, which throws `std::bad_alloc`.
};

/// How often an armed fault strikes.
enum class FaultReach { Once, FromThenOn };

/// Arms one fault for the calling thread for as long as it lives. Calls count only within
/// `UnderFaults`.
class Faults {
public:
    Faults(FaultSource source, int nth, FaultReach reach);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// Whether the nth call was made, and so failed.
    bool Struck() const;

    /// Whether one fault alone is armed. What follows it then works, clearing up included.
    static bool IsSingle();

    /// Of the wrappers: counts a call and tells whether it is to fail.
    static bool Strikes(FaultSource source, const char* call) noexcept;
};

/// Does something of the test's choice before every system call of one name, for the calling thread
/// and within `UnderFaults`, beside what an armed fault does.
class AtCall {
public:
    /// @param answer gives 0 to let the call go on, or the error that it fails with.
    AtCall(const char* call, std::function<int()> answer);
    ~AtCall();
    AtCall(const AtCall&) = delete;
    AtCall& operator=(const AtCall&) = delete;

    /// Of the wrappers: the error of that call, or 0.
    static int ErrorOf(const char* call);

private:
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

/// What one operation of a fault walk came to.
enum class Outcome { Succeeded, Failed };

/// Runs `operation` again and again with the nth call of the source failing, n from 1 until it
/// passes without a fault, once and from there on. The operation makes its call through
/// `UnderFaults`, checks what a failure must leave behind, and may let `std::bad_alloc` out. After
/// each round the runtime's users and the descriptors must be back where they were, and the last
/// round must succeed.
void WalkFaults(const std::string& name, FaultSource source,
                const std::function<Outcome()>& operation);

}  // namespace zukel::test
