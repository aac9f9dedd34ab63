#pragma once

#include <sys/stat.h>

#include <cerrno>

/// Rules shared by copies and moves.
namespace zukel::platform {

/// Whether two results of `stat` are of the same file.
inline bool IsSameFile(const struct stat& one, const struct stat& other) noexcept {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

constexpr mode_t kReadWriteExecute = 0777;
constexpr mode_t kModeBits = 07777;

/// The extended attribute that holds a POSIX access list.
constexpr const char* kAccessList = "system.posix_acl_access";

/// Whether an error means that the system, a sandbox or the file system does not support the call,
/// or not for this user; EINVAL also means that an owner is not mapped there.
inline bool IsRefusal(int error) noexcept {
    return error == EPERM || error == EACCES || error == ENOTSUP || error == ENOSYS ||
           error == EINVAL;
}

/// Whether a call that sets an attribute has succeeded, or was refused, which a copy may ignore.
inline bool SucceededOrRefused(int result) noexcept {
    return result == 0 || IsRefusal(errno);
}

}  // namespace zukel::platform
