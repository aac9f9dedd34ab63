#include <apr_file_info.h>

#include "file/kelFileRecord.h"
#include "frame/Names.h"
#include "frame/StatusMapping.h"
#include "kelFile.h"
#include "platform/FileFacts.h"
#include "platform/FileOperations.h"
#include "zubase/zuWString.h"

namespace platform = zukel::platform;

namespace {

int StatusOf(bool done) noexcept {
    return done ? kelStatusOk : zukel::FailAsToldBySystem();
}

/// Frame of the operations on one name: tests the name, and makes the call with its bytes.
///
/// @param missing the status if nothing has the name.
template <typename Call>
int OnName(const zuString& name, Call call, int missing = kelStatusFailed) {
    if (name.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    return zukel::IsWhole(name) ? call(name.c_str()) : zukel::Fail(APR_ENOENT, missing);
}

/// Frame of the operations on two names.
template <typename Call>
int OnNames(const zuString& from, const zuString& to, Call call) {
    if (from.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptySource);
    }
    if (to.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyTarget);
    }
    return zukel::IsWhole(from) && zukel::IsWhole(to) ? call(from.c_str(), to.c_str())
                                                      : zukel::Fail(APR_ENOENT);
}

int ExistsByName(const zuString& name) noexcept {
    const auto look = [](const char* file) {
        return platform::FileExists(file) ? kelStatusOk
                                          : zukel::FailAsToldBySystem(kelStatusNotFound);
    };
    return OnName(name, look, kelStatusNotFound);
}

}  // namespace

int kelFile::Copy(const zuString& from, const zuString& to, int perms) {
    return OnNames(from, to, [perms](const char* source, const char* target) {
        return StatusOf(platform::CopyWithPermissions(source, target, perms) ==
                        platform::CopyEnd::Done);
    });
}

int kelFile::Copy(const kelLibrary*, const zuString& from, const zuString& to, int perms) {
    return Copy(from, to, perms);
}

int kelFile::NativeCopy(const zuString& from, const zuString& to, int perms) {
    return OnNames(from, to, [perms](const char* source, const char* target) {
        const platform::CopyEnd end = platform::CopyWithAttributes(source, target);
        const int status = StatusOf(end == platform::CopyEnd::Done);
        if (perms == APR_FPROT_OS_DEFAULT && end != platform::CopyEnd::SameFile) {
            platform::SetNormalAttributes(target);
        }
        return status;
    });
}

int kelFile::Rename(const zuString& from, const zuString& to) {
    return OnNames(from, to, [](const char* source, const char* target) {
        const apr_status_t status = platform::RenameFile(source, target);
        return APR_STATUS_IS_EXDEV(status) ? StatusOf(platform::MoveAcrossVolumes(source, target))
                                           : zukel::MapStatus(status);
    });
}

int kelFile::Rename(const kelLibrary*, const zuString& from, const zuString& to) {
    return Rename(from, to);
}

int kelFile::NativeRename(const zuString& from, const zuString& to) {
    return OnNames(from, to, [](const char* source, const char* target) {
        return StatusOf(platform::RenameInPlace(source, target));
    });
}

int kelFile::RenameNew(const zuString& from, const zuString& to) {
    return OnNames(from, to, [](const char* source, const char* target) {
        const apr_status_t status = platform::RenameToNew(source, target);
        const int mapped = zukel::MapStatus(status);
        return APR_STATUS_IS_EEXIST(status) ? kelStatusExists : mapped;
    });
}

int kelFile::Delete(const zuString& name) {
    return OnName(name,
                  [](const char* file) { return zukel::MapStatus(platform::RemoveFile(file)); });
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
    return OnName(
        name, [mode](const char* file) { return StatusOf(platform::ChangeAccess(file, mode)); });
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
