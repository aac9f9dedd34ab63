#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>

#include "kelProcess.h"

/// Of the coverage build: `_exit` would lose what the child has counted.
extern "C" void __gcov_dump() __attribute__((weak));

namespace zukel::test {

/// Runs the body in a child process, and fails the test when a check in it fails, when it crashes,
/// or when it takes longer than a minute. Nothing that the body does to its descriptors, signals
/// or children reaches the test program.
inline void InChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        alarm(60);
        body();
        std::fflush(nullptr);
        if (__gcov_dump != nullptr) {
            __gcov_dump();
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "a check in the child failed, it crashed, or it took too long";
}

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
        siginfo_t info{};
        return next.Start("true", false) == 0 && Ends(next) &&
               waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
    });
}

}  // namespace zukel::test
