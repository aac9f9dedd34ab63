#include <apr_file_info.h>

#include "file/kelFileRecord.h"
#include "frame/Names.h"
#include "frame/OnName.h"
#include "kelFile.h"
#include "platform/FileFacts.h"
#include "platform/FileOperations.h"
#include "zubase/zuWString.h"

namespace platform = zukel::platform;

namespace {

/// Frame of the operations on two names.
///
/// @param call takes the bytes of both and returns 0 or the reason.
template <typename Call>
int OnNames(const zuString& from, const zuString& to, Call call) {
    if (from.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptySource);
    }
    if (to.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyTarget);
    }
    const bool whole = zukel::IsWhole(from) && zukel::IsWhole(to);
    return zukel::MapStatus(whole ? call(from.c_str(), to.c_str()) : APR_ENOENT);
}

int MapMissing(apr_status_t status) noexcept {
    return zukel::MapStatus(status, kelStatusNotFound);
}

int ExistsByName(const zuString& name) noexcept {
    return zukel::OnName(name, MapMissing, platform::FindFile);
}

}  // namespace

int kelFile::Copy(const zuString& from, const zuString& to, int perms) {
    return OnNames(from, to, [perms](const char* source, const char* target) {
        return platform::CopyWithPermissions(source, target, perms);
    });
}

int kelFile::Copy(const kelLibrary*, const zuString& from, const zuString& to, int perms) {
    return Copy(from, to, perms);
}

int kelFile::NativeCopy(const zuString& from, const zuString& to, int perms) {
    return OnNames(from, to, [perms](const char* source, const char* target) {
        return platform::CopyWithAttributes(source, target, perms == APR_FPROT_OS_DEFAULT);
    });
}

int kelFile::Rename(const zuString& from, const zuString& to) {
    return OnNames(from, to, [](const char* source, const char* target) {
        const apr_status_t status = platform::RenameFile(source, target);
        return APR_STATUS_IS_EXDEV(status) ? platform::MoveAcrossVolumes(source, target) : status;
    });
}

int kelFile::Rename(const kelLibrary*, const zuString& from, const zuString& to) {
    return Rename(from, to);
}

int kelFile::NativeRename(const zuString& from, const zuString& to) {
    return OnNames(from, to, platform::RenameInPlace);
}

int kelFile::RenameNew(const zuString& from, const zuString& to) {
    apr_status_t reason = APR_SUCCESS;
    const int status = OnNames(from, to, [&reason](const char* source, const char* target) {
        return reason = platform::RenameToNew(source, target);
    });
    return APR_STATUS_IS_EEXIST(reason) ? kelStatusExists : status;
}

int kelFile::Delete(const zuString& name) {
    return zukel::OnName(name, zukel::MapStatus, platform::RemoveFile);
}

int kelFile::Delete(const kelLibrary*, const zuString& name) {
    return Delete(name);
}

bool kelFile::Exists(const zuString& name) {
    return ExistsByName(name) == kelStatusOk;
}

int kelFile::Exists(const kelLibrary*, const zuString& name) {
    return ExistsByName(name);
}

int kelFile::SetPermissions(const zuString& name, int perms) {
    const int mode = ((perms & APR_FPROT_UREAD) != 0 ? platform::kOwnerMayRead : 0) |
                     ((perms & APR_FPROT_UWRITE) != 0 ? platform::kOwnerMayWrite : 0);
    return zukel::OnName(name, zukel::MapStatus,
                         [mode](const char* file) { return platform::ChangeAccess(file, mode); });
}

int kelFile::SetPermissions(const kelLibrary*, const zuString& name, int perms) {
    return SetPermissions(name, perms);
}

bool kelFile::IsReadable() const {
    return platform::IsAccessible(zuWString(record_->name).c_str(), platform::kForReading);
}

bool kelFile::IsWritable() const {
    return platform::IsAccessible(zuWString(record_->name).c_str(), platform::kForWriting);
}
