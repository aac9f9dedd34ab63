#include "platform/FileOperations.h"

/// Files by name over the stand-in platform: there are none.
namespace zukel::platform {

CopyEnd CopyWithPermissions(const char*, const char*, apr_fileperms_t, apr_pool_t*) noexcept {
    return CopyEnd::Failed;
}

CopyEnd CopyWithAttributes(const char*, const char*) noexcept {
    return CopyEnd::Failed;
}

void SetNormalAttributes(const char*) noexcept {}

bool RenameInPlace(const char*, const char*) noexcept {
    return false;
}

bool MoveAcrossVolumes(const char*, const char*) {
    return false;
}

bool ChangeAccess(const char*, int) noexcept {
    return false;
}

bool IsAccessible(const wchar_t*, int) {
    return false;
}

}  // namespace zukel::platform
