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

/// The mode that a copy takes from its source. A program that runs as its owner (group) does so as
/// a copy only when the copy has that owner (group) too: otherwise it would run as whoever copied
/// it.
inline mode_t ModeForCopy(const struct stat& source, const struct stat& copy) noexcept {
    const mode_t sameOwner = source.st_uid == copy.st_uid ? S_ISUID : 0;
    const mode_t sameGroup = source.st_gid == copy.st_gid ? S_ISGID : 0;
    return source.st_mode & (kReadWriteExecute | S_ISVTX | sameOwner | sameGroup);
}

/// Whether a call that sets an attribute succeeded, or failed in a way that a copy may ignore: not
/// permitted, not supported by the volume, owner not mapped.
inline bool SucceededOrUnsupported(int result) noexcept {
    return result == 0 || errno == EPERM || errno == EACCES || errno == ENOTSUP ||
           errno == ENOSYS || errno == EINVAL;
}

}  // namespace zukel::platform
