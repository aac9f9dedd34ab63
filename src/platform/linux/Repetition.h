#pragma once

#include <cerrno>
#include <ctime>

namespace zukel::platform {

/// Makes a call, and makes it again for as long as its result says that it is worth it: after 1 ms,
/// 2 ms, 4 ms and so on.
///
/// @param times how often it is made again at most: 7 times take 127 ms, 10 times a second.
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
