#include "platform/FileOperations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "zubase/zuWString.h"

namespace zukel::platform {

namespace {
constexpr mode_t kModeBits = 07777;
}

void SetNormalAttributes(const char* name) noexcept {
    struct stat status {};
    if (stat(name, &status) == 0 && (status.st_mode & S_IWUSR) == 0) {
        chmod(name, (status.st_mode & kModeBits) | S_IWUSR);
    }
}

apr_status_t RenameFile(const char* from, const char* to) noexcept {
    return std::rename(from, to) == 0 ? APR_SUCCESS : errno;
}

apr_status_t RemoveFile(const char* name) noexcept {
    return unlink(name) == 0 ? APR_SUCCESS : errno;
}

bool RenameInPlace(const char* from, const char* to) noexcept {
    return std::rename(from, to) == 0;
}

bool ChangeAccess(const char* name, int mode) noexcept {
    static_assert(kOwnerMayRead == S_IRUSR && kOwnerMayWrite == S_IWUSR);
    constexpr mode_t kOwnersBits = S_IRUSR | S_IWUSR;
    struct stat status {};
    return stat(name, &status) == 0 &&
           chmod(name, (status.st_mode & kModeBits & ~kOwnersBits) |
                           (static_cast<mode_t>(mode) & kOwnersBits)) == 0;
}

bool IsAccessible(const wchar_t* name, int access) {
    static_assert(kForReading == R_OK && kForWriting == W_OK);
    return faccessat(AT_FDCWD, Narrow(name).c_str(), access, AT_EACCESS) == 0;
}

}  // namespace zukel::platform
