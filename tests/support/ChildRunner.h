#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "kelProcess.h"
#include "support/System.h"

namespace zukel::test {

/// Waits until the condition holds, for ten seconds at most; tells whether it does.
inline bool Eventually(const std::function<bool()>& condition) {
    int rounds = 0;
    while (!condition() && ++rounds < 5000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return rounds < 5000;
}

inline bool Ends(const kelProcess& process) {
    return Eventually([&] { return !process.IsRunning(); });
}

/// Whether this process soon has no children, ended or not, for those that nobody holds are
/// collected at the next start.
inline bool AllCollected() {
    return Eventually([] {
        kelProcess next;
        return next.Start(ZUKEL_TEST_CHILD, false) == 0 && Ends(next) && HasNoChildren();
    });
}

}  // namespace zukel::test
