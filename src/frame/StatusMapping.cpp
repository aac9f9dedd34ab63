#include "frame/StatusMapping.h"

namespace zukel {

namespace {

thread_local apr_status_t lastReason =
    APR_SUCCESS;  // a plain number needs no constructor or destructor per thread

}  // namespace

int Fail(apr_status_t reason, int mapped) noexcept {
    lastReason = reason;
    return mapped;
}

apr_status_t LastReason() noexcept {
    return lastReason;
}

}  // namespace zukel
