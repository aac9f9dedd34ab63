#pragma once

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include "support/Testing.h"

namespace zukel::test {

inline bool Ends(const kelProcess& process) {
    return Eventually([&] { return !process.IsRunning(); });
}

/// Whether this process soon has no children, ended or not, for those that nobody holds are
/// collected at the next start. Windows has no children to collect.
inline bool AllCollected() {
    return Eventually([] {
        kelProcess next;
        bool none = next.Start(ZUKEL_TEST_CHILD, false) == 0 && Ends(next);
#ifndef _WIN32
        siginfo_t child{};
        none = none && waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0;
#endif
        return none;
    });
}

}  // namespace zukel::test
