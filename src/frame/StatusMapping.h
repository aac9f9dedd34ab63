#pragma once

#include <apr_errno.h>

#include "kelStatus.h"

namespace zukel {

/// The general rule: zero is success, every other status of the runtime is a plain failure.
inline int MapStatus(apr_status_t status) noexcept {
    return status == APR_SUCCESS ? kelStatusOk : kelStatusFailed;
}

}  // namespace zukel
