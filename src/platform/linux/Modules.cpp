#include "platform/Modules.h"

namespace zukel::platform {

apr_status_t LoadModule(const char* name, apr_pool_t* pool, apr_dso_handle_t*& tried) noexcept {
    return apr_dso_load(&tried, name, pool);
}

}  // namespace zukel::platform
