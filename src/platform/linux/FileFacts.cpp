#include "platform/FileFacts.h"

namespace zukel::platform {

apr_status_t QueryFile(apr_finfo_t& info, const char* name, apr_int32_t wanted,
                       apr_pool_t* pool) noexcept {
    return apr_stat(&info, name, wanted | APR_FINFO_LINK, pool);
}

apr_status_t QueryPermissions(apr_finfo_t& info, const char* name, apr_pool_t* pool) noexcept {
    return apr_stat(&info, name, APR_FINFO_PROT | APR_FINFO_LINK, pool);
}

}  // namespace zukel::platform
