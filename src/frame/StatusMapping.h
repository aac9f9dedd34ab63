#pragma once

#include <apr_errno.h>

#include "kelStatus.h"

namespace zukel {

/// Stores the reason of a failure for the calling thread, until the next one.
///
/// @param reason a status of APR or of the platform; not `APR_SUCCESS`.
/// @returns `mapped`.
[[gnu::cold]] int Fail(apr_status_t reason, int mapped = kelStatusFailed) noexcept;

/// The reason stored last in the calling thread, or `APR_SUCCESS`.
apr_status_t LastReason() noexcept;

/// The default mapping: zero is success, every other status of APR is `kelStatusFailed`. Finer
/// mappings are beside their calls: `OpenStatus.h`, `kelDirectory.cpp`, `kelFileOperations.cpp`,
/// `kelLibraryEnvironment.cpp`.
inline int MapStatus(apr_status_t status) noexcept {
    return status == APR_SUCCESS ? kelStatusOk : Fail(status);
}

/// The same for an operation that has one status for all of its failures.
inline int MapStatus(apr_status_t status, int failure) noexcept {
    return status == APR_SUCCESS ? kelStatusOk : Fail(status, failure);
}

}  // namespace zukel
