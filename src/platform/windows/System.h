#pragma once

// The system's headers, in the order that they need, before those of APR (1.7.2), which define
// WIN32_LEAN_AND_MEAN and so leave parts of them out.

// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <apr.h>
#include <apr_errno.h>
// clang-format on

namespace zukel::platform {

/// An error of the system in APR's numbering.
constexpr apr_status_t SystemStatus(DWORD error) noexcept {
    return APR_FROM_OS_ERROR(static_cast<apr_status_t>(error));
}

/// The error of the last failed call. Never 0: a later call that succeeded may have cleared it.
inline apr_status_t LastStatus() noexcept {
    const DWORD error = GetLastError();
    return SystemStatus(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
}

}  // namespace zukel::platform
