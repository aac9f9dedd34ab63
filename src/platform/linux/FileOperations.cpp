#include "platform/FileOperations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/linux/CopyRules.h"
#include "platform/linux/SystemCall.h"
#include "zubase/zuWString.h"

namespace zukel::platform {

namespace {

/// Whether the mode of the file grants the access to the effective user.
bool IsGrantedByMode(const char* name, int access) noexcept {
    struct stat facts {};
    if (stat(name, &facts) != 0) {
        return false;
    }
    const bool group = facts.st_gid == getegid() || group_member(facts.st_gid) != 0;
    const unsigned shift = facts.st_uid == geteuid() ? 6 : group ? 3 : 0;
    const auto wanted = static_cast<mode_t>(access);
    return geteuid() == 0 || ((facts.st_mode >> shift) & wanted) == wanted;
}

/// `access` is a bit set of R_OK and W_OK. Only the kernel's newer call tests for the effective
/// user (`faccessat2`, Linux 5.8); the C library (2.36) always uses it for `faccessat`. Where a
/// sandbox refuses it, `access` decides if real and effective user are the same, and the mode if
/// not.
bool IsGranted(const char* name, int access) noexcept {
    if (faccessat(AT_FDCWD, name, access, AT_EACCESS) == 0) {
        return true;
    }
    if (errno != EPERM) {
        return false;
    }
    const bool same = getuid() == geteuid() && getgid() == getegid();
    return same ? ::access(name, access) == 0 : IsGrantedByMode(name, access);
}

}  // namespace

apr_status_t RenameFile(const char* from, const char* to) noexcept {
    return StatusOf(std::rename(from, to));
}

apr_status_t RemoveFile(const char* name) noexcept {
    return StatusOf(unlink(name));
}

apr_status_t RenameInPlace(const char* from, const char* to) noexcept {
    return RenameFile(from, to);
}

apr_status_t RenameToNew(const char* from, const char* to) noexcept {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) {
        return APR_SUCCESS;
    }
    const int refusal = errno;
    if (!IsRefusal(refusal)) {
        return refusal;
    }
    // As on systems without that call.
    if (linkat(AT_FDCWD, from, AT_FDCWD, to, 0) != 0) {
        return errno == EEXIST ? EEXIST : refusal;
    }
    if (unlink(from) == 0) {
        return APR_SUCCESS;
    }
    const int error = errno;
    unlink(to);
    return error;
}

apr_status_t ChangeAccess(const char* name, int mode) noexcept {
    static_assert(kOwnerMayRead == S_IRUSR && kOwnerMayWrite == S_IWUSR);
    constexpr mode_t kOwnersBits = S_IRUSR | S_IWUSR;
    struct stat status {};
    const bool changed =
        stat(name, &status) == 0 && chmod(name, (status.st_mode & kModeBits & ~kOwnersBits) |
                                                    (static_cast<mode_t>(mode) & kOwnersBits)) == 0;
    return changed ? APR_SUCCESS : errno;
}

bool IsAccessible(const wchar_t* name, int access) {
    static_assert(kForReading == R_OK && kForWriting == W_OK);
    return IsGranted(Narrow(name).c_str(), access);
}

}  // namespace zukel::platform
