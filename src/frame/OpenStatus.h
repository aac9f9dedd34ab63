#pragma once

#include "frame/StatusMapping.h"

namespace zukel {

/// The status of what opens a file by its name.
inline int MapOpenStatus(apr_status_t status) noexcept {
    const int mapped = MapStatus(status);
    return APR_STATUS_IS_ENOENT(status)   ? kelStatusNotFound
           : APR_STATUS_IS_EACCES(status) ? kelStatusAccessDenied
                                          : mapped;
}

}  // namespace zukel
