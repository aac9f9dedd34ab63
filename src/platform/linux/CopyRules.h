#pragma once

#include <sys/stat.h>

#include <cerrno>

/// What copying and moving agree on.
namespace zukel::platform {

/// Whether two answers of `stat` are about one and the same file.
inline bool IsSameFile(const struct stat& one, const struct stat& other) noexcept {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

constexpr mode_t kReadWriteExecute = 0777;
constexpr mode_t kModeBits = 07777;

/// The extended attribute that holds a POSIX access list.
constexpr const char* kAccessList = "system.posix_acl_access";

/// Whether an error says that the system, a sandbox or the volume does not do what was asked, or
/// not for this user; EINVAL also says that an owner has no number there.
inline bool IsRefusal(int error) noexcept {
    return error == EPERM || error == EACCES || error == ENOTSUP || error == ENOSYS ||
           error == EINVAL;
}

/// Whether a call that sets an attribute has succeeded or was refused: a copy does without it then.
inline bool SucceededOrRefused(int result) noexcept {
    return result == 0 || IsRefusal(errno);
}

}  // namespace zukel::platform
