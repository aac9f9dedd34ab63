#include "platform/Reasons.h"

#include <cerrno>

namespace zukel::platform {

int SystemNumber(apr_status_t status) noexcept {
    if (status < APR_OS_START_ERROR) {
        return status;
    }
    switch (status) {
        case APR_EOF:
            return ENODATA;
        case APR_ENOPOOL:
            return ENOMEM;
        case APR_EDSOOPEN:
        case APR_ESYMNOTFOUND:
            return ENOENT;
        case APR_ENOTIMPL:
            return ENOSYS;
        case APR_TIMEUP:
            return ETIMEDOUT;
        case APR_EGENERAL:
            return EIO;
        default:
            return EINVAL;
    }
}

zuString SystemText(int number) {
    char buffer[256];
    return apr_strerror(number, buffer, sizeof buffer);
}

}  // namespace zukel::platform
