#include "platform/FileFacts.h"

#include <apr_file_io.h>

namespace zukel::platform {

namespace {
/// As the runtime reads it: without access to the contents, which opens directories as well; a link
/// itself; with the right to read owner and permissions.
constexpr apr_int32_t kOpenForFacts = 0x730000;
}  // namespace

apr_status_t QueryFile(apr_finfo_t& info, const char* name, apr_int32_t wanted,
                       apr_pool_t* pool) noexcept {
    apr_file_t* file = nullptr;
    apr_status_t status = apr_file_open(&file, name, kOpenForFacts, APR_FPROT_OS_DEFAULT, pool);
    if (status == APR_SUCCESS) {
        status = apr_file_info_get(&info, wanted, file);
        apr_file_close(file);
    }
    return status;
}

apr_status_t QueryPermissions(apr_finfo_t& info, const char* name, apr_pool_t* pool) noexcept {
    return apr_stat(&info, name, APR_FINFO_PROT, pool);
}

}  // namespace zukel::platform
