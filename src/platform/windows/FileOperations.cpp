#include "platform/FileOperations.h"

#include <apr_errno.h>
#include <io.h>

#include <cstdio>

#include "platform/windows/OpenFile.h"

namespace zukel::platform {

apr_status_t RenameFile(const char* from, const char* to, apr_pool_t*) noexcept {
    const WideName source(from);
    const WideName target(to);
    if (!source || !target) {
        return APR_ENOMEM;
    }
    // Two names of one file stay both. Of a single name the system makes the other, in other case.
    const FileId file = Identify(source.Get(), Links::Themselves);
    if (file.links > 1 && file == Identify(target.Get(), Links::Themselves)) {
        return APR_SUCCESS;
    }
    return MoveFileExW(source.Get(), target.Get(), MOVEFILE_REPLACE_EXISTING) != 0
               ? APR_SUCCESS
               : apr_get_os_error();
}

void SetNormalAttributes(const char* name) noexcept {
    SetFileAttributesA(name, FILE_ATTRIBUTE_NORMAL);
}

bool RenameInPlace(const char* from, const char* to) noexcept {
    return std::rename(from, to) == 0;
}

bool ChangeAccess(const char* name, int mode) noexcept {
    return _chmod(name, mode) == 0;
}

bool IsAccessible(const wchar_t* name, int access) {
    return _waccess(name, access) == 0;
}

}  // namespace zukel::platform
