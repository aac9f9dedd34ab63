#include "platform/linux/HeldSignals.h"

#include <cerrno>
#include <ctime>

namespace zukel::platform {

HeldSignals::HeldSignals(std::initializer_list<int> signals) noexcept {
    sigemptyset(&held_);
    for (const int signal : signals) {
        sigaddset(&held_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held_, &former_);
    // Signals that are pending now were blocked by the program itself.
    sigset_t pending;
    sigemptyset(&pending);
    for (const int signal : signals) {
        if (sigismember(&former_, signal) == 1 && sigpending(&pending) == 0 &&
            sigismember(&pending, signal) == 1) {
            sigdelset(&held_, signal);
        }
    }
}

HeldSignals::~HeldSignals() {
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

void HeldSignals::Discard() const noexcept {
    const int error = errno;
    constexpr timespec kAtOnce{};
    while (sigtimedwait(&held_, nullptr, &kAtOnce) > 0) {
    }
    errno = error;
}

}  // namespace zukel::platform
