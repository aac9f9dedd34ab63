#pragma once

#include "frame/StatusMapping.h"

namespace zukel {

/// The mapping for opening by name.
inline int MapOpenStatus(apr_status_t status) noexcept {
    if (APR_STATUS_IS_ENOENT(status)) {
        return Fail(status, kelStatusNotFound);
    }
    if (APR_STATUS_IS_EACCES(status)) {
        return Fail(status, kelStatusAccessDenied);
    }
    return MapStatus(status);
}

}  // namespace zukel
