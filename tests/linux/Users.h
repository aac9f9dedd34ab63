#pragma once

#include <unistd.h>

#include "support/Testing.h"

namespace zukel::test {

/// A user who is neither root nor the one who runs the tests. Files of root's are a stranger's to
/// it.
inline const uid_t kNobody = geteuid() == 65534 ? 65533 : 65534;

/// A test in a directory in memory: nothing waits for a disk, and it is another volume than that of
/// temporary files.
struct InMemory : InDirectory {
    InMemory() : InDirectory("/dev/shm") {}
};

/// Does the work in a forked copy of the process, which then leaves.
inline void InForkedCopy(const std::function<void()>& work) {
    const pid_t copy = fork();
    if (copy == 0) {
        work();
        _exit(0);
    }
    EXPECT_EQ(waitpid(copy, nullptr, 0), copy);
}

/// Takes root's power over permissions away.
inline Guard Unprivileged() {
    const uid_t former = geteuid();
    EXPECT_EQ(seteuid(former == 0 ? kNobody : former), 0);
    return Guard([former] { EXPECT_EQ(seteuid(former), 0); });
}

}  // namespace zukel::test
