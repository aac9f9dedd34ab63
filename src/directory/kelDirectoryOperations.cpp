#include <apr_file_io.h>

#include "directory/kelDirectoryRecord.h"
#include "frame/StatusMapping.h"
#include "kelDirectory.h"

// Macros of <windows.h>, which the runtime's headers may include.
#undef GetCurrentDirectory
#undef SetCurrentDirectory

namespace {

/// The frame of the operations on one path: a pool for the length of the call, the test for an
/// empty path, the runtime's call, its status mapped.
template <typename Call>
int OnPath(const zuString& path, Call call) {
    const kelDirectoryRecord scratch;
    if (path.empty()) {
        return kelStatusEmptyPath;
    }
    if (!scratch.pool) {
        return kelStatusFailed;
    }
    return zukel::MapStatus(call(path.c_str(), scratch.pool.Get()));
}

/// The runtime takes anything that exists for the directory asked for; only a directory will do.
apr_status_t MakeWithParents(const char* path, apr_fileperms_t perms, apr_pool_t* pool) noexcept {
    apr_status_t status = apr_dir_make_recursive(path, perms, pool);
    apr_finfo_t info = {};
    if (status == APR_SUCCESS) {
        status = apr_stat(&info, path, APR_FINFO_TYPE, pool);
    }
    if (status == APR_SUCCESS && info.filetype != APR_DIR) {
        status = APR_ENOTDIR;
    }
    return status;
}

}  // namespace

int kelDirectory::Create(const zuString& path, int perms, bool recursive) {
    return OnPath(path, [&](const char* name, apr_pool_t* pool) {
        return recursive ? MakeWithParents(name, perms, pool) : apr_dir_make(name, perms, pool);
    });
}

int kelDirectory::Create(const kelLibrary*, const zuString& path, int perms, bool recursive) {
    return Create(path, perms, recursive);
}

int kelDirectory::Delete(const zuString& path) {
    return OnPath(path, apr_dir_remove);
}

int kelDirectory::Delete(const kelLibrary*, const zuString& path) {
    return Delete(path);
}

zuString kelDirectory::GetCurrentDirectory() {
    const kelDirectoryRecord scratch;
    char* text = nullptr;
    if (!scratch.pool ||
        apr_filepath_get(&text, APR_FILEPATH_NATIVE, scratch.pool.Get()) != APR_SUCCESS) {
        return {};
    }
    return text;
}

zuString kelDirectory::GetCurrentDirectory(const kelLibrary*) {
    return GetCurrentDirectory();
}

int kelDirectory::SetCurrentDirectory(const zuString& path) {
    return OnPath(path, apr_filepath_set);
}

int kelDirectory::SetCurrentDirectory(const kelLibrary*, const zuString& path) {
    return SetCurrentDirectory(path);
}
