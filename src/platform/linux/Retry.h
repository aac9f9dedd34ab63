#pragma once

#include <cerrno>

namespace zukel::platform {

/// Makes a system call again for as long as a signal interrupts it.
///
/// @returns what the call gave in the end: -1 never stands for EINTR.
template <typename Call>
auto Uninterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace zukel::platform
