#include "frame/RuntimeUse.h"

#include <apr_general.h>

#include <mutex>

namespace zukel {

namespace {
std::mutex countLock;  // constant-initialised: loading the library runs nothing
}

RuntimeUse::RuntimeUse() noexcept {
    const std::lock_guard<std::mutex> lock(countLock);
    started_ = apr_initialize() == APR_SUCCESS;
    if (!started_) {
        // The runtime counts a user before it tries to start. Left standing, that count would make
        // the next call succeed without pools behind it.
        apr_terminate();
    }
}

RuntimeUse::~RuntimeUse() {
    if (started_) {
        const std::lock_guard<std::mutex> lock(countLock);
        apr_terminate();
    }
}

}  // namespace zukel
