#pragma once

#include <pthread.h>

namespace zukel::platform {

/// Defers `pthread_cancel` for the calling thread: many system calls are cancellation points, and
/// functions of the platform are `noexcept`, through which a thread cannot be unwound. A
/// cancellation takes effect at the next cancellation point after the end of the object.
class Uncancelled {
public:
    Uncancelled() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former_); }
    ~Uncancelled() { pthread_setcancelstate(former_, nullptr); }
    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;

private:
    int former_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace zukel::platform
