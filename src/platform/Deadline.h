#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace zukel::platform {

/// A moment up to which something is waited for.
using Deadline = std::chrono::steady_clock::time_point;
inline constexpr Deadline kNoDeadline = Deadline::max();

/// The time up to a deadline as `poll` and the waiting calls of Windows take it: rounded up, to
/// avoid busy polling just before it; 0 if it is over, -1 if there is none. It may be less than is
/// left.
inline int MilliSecondsTo(Deadline deadline) noexcept {
    using std::chrono::milliseconds;
    if (deadline == kNoDeadline) {
        return -1;
    }
    const auto now = std::chrono::steady_clock::now();
    if (deadline <= now) {
        return 0;
    }
    constexpr milliseconds kMost(std::numeric_limits<int>::max());
    return static_cast<int>(
        std::min(std::chrono::ceil<milliseconds>(deadline - now), kMost).count());
}

}  // namespace zukel::platform
