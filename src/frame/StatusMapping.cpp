#include "frame/StatusMapping.h"

#include "platform/Reasons.h"

namespace zukel {

namespace {

thread_local apr_status_t lastReason =
    APR_SUCCESS;  // a plain number needs no constructor or destructor per thread

}  // namespace

int Fail(apr_status_t reason, int mapped) noexcept {
    lastReason = reason;
    return mapped;
}

int FailAsToldBySystem(int status) noexcept {
    const apr_status_t reason = platform::SystemReason();
    return Fail(reason != APR_SUCCESS ? reason : APR_EGENERAL, status);
}

apr_status_t LastReason() noexcept {
    return lastReason;
}

}  // namespace zukel
