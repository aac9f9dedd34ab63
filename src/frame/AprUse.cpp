#include "frame/AprUse.h"

#include <apr_general.h>

#include <cstddef>
#include <mutex>

#include "platform/ProcessLock.h"

namespace zukel {

namespace {

struct {
    std::mutex lock;
    std::size_t count = 0;
} uses;  // one for each copy of the library; constant-initialised, so that loading it runs no code

/// Guards the count of users that APR keeps for the whole process, against other copies of the
/// library.
class ProcessLock {
public:
    ProcessLock() noexcept : lock_(platform::LockProcess()) {}
    ~ProcessLock() { platform::UnlockProcess(lock_); }
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;

private:
    const std::intptr_t lock_;
};

bool Start() noexcept {
    const ProcessLock alone;
    const bool started = apr_initialize() == APR_SUCCESS;
    if (!started) {
        // APR counts a user before it tries to start. If that count remained, the next call would
        // succeed without the global pool.
        apr_terminate();
    }
    return started;
}

void Stop() noexcept {
    const ProcessLock alone;
    apr_terminate();
}

}  // namespace

AprUse::AprUse() noexcept {
    const std::lock_guard<std::mutex> lock(uses.lock);
    started_ = uses.count > 0 || Start();
    uses.count += started_ ? 1 : 0;
}

AprUse::~AprUse() {
    if (started_) {
        const std::lock_guard<std::mutex> lock(uses.lock);
        if (--uses.count == 0) {
            Stop();
        }
    }
}

}  // namespace zukel
