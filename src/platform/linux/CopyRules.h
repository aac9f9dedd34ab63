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

/// The mode that a copy takes from its source. A program that runs as its owner (group) does so as
/// a copy only when the copy has that owner (group) too: otherwise it would run as whoever copied
/// it.
inline mode_t ModeForCopy(const struct stat& source, const struct stat& copy) noexcept {
    const mode_t sameOwner = source.st_uid == copy.st_uid ? S_ISUID : 0;
    const mode_t sameGroup = source.st_gid == copy.st_gid ? S_ISGID : 0;
    return source.st_mode & (kReadWriteExecute | S_ISVTX | sameOwner | sameGroup);
}

/// Whether a call that sets an attribute has done so, or was refused because the file belongs to
/// somebody else, its volume keeps no such thing, or the owner has no number here. A copy does
/// without it then.
inline bool DoneOrRefused(int result) noexcept {
    return result == 0 || errno == EPERM || errno == ENOTSUP || errno == EINVAL;
}

}  // namespace zukel::platform
