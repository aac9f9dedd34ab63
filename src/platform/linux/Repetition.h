#pragma once

#include <cerrno>
#include <ctime>

namespace zukel::platform {

/// Makes a call, and repeats it while its result asks for that: after 1 ms, 2 ms, 4 ms and so on.
///
/// @param times the number of repetitions at most: 7 take 127 ms, 10 take a second.
template <typename Call, typename Again>
auto Repeated(int times, Call call, Again again) noexcept {
    auto result = call();
    for (long pause = 1'000'000; times > 0 && again(result); --times, pause *= 2) {
        timespec time{0, pause};
        while (nanosleep(&time, &time) != 0 && errno == EINTR) {
        }
        result = call();
    }
    return result;
}

}  // namespace zukel::platform
