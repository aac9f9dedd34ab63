#pragma once

#include <unistd.h>

#include "support/Testing.h"

namespace zukel::test {

/// A user who is not root. Files of root's are a stranger's to it.
constexpr uid_t kNobody = 65534;

/// Takes root's power over permissions away.
inline Guard Unprivileged() {
    const uid_t former = geteuid();
    EXPECT_EQ(seteuid(former == 0 ? kNobody : former), 0);
    return Guard([former] { EXPECT_EQ(seteuid(former), 0); });
}

}  // namespace zukel::test
