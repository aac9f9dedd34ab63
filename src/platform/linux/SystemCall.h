#pragma once

#include <cerrno>

namespace zukel::platform {

/// Makes a system call that gives -1 when it fails, and makes it again for as long as a signal
/// interrupts it.
template <typename Call>
auto Uninterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace zukel::platform
