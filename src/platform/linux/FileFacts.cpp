#include "platform/FileFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/Permissions.h"

namespace zukel::platform {

namespace {

apr_filetype_e TypeOf(mode_t mode) noexcept {
    switch (mode & S_IFMT) {
        case S_IFREG:
            return APR_REG;
        case S_IFDIR:
            return APR_DIR;
        case S_IFIFO:
            return APR_PIPE;
        case S_IFLNK:
            return APR_LNK;
        case S_IFSOCK:
            return APR_SOCK;
        default:
            return APR_UNKFILE;
    }
}

long long Microseconds(const timespec& time) noexcept {
    return time.tv_sec * 1000000LL + time.tv_nsec / 1000;
}

}  // namespace

apr_status_t QueryFile(const char* name, LinkMode mode, FileFacts& facts) noexcept {
    struct stat found {};
    if ((mode == LinkMode::Itself ? lstat(name, &found) : stat(name, &found)) != 0) {
        return errno;
    }
    facts.type = TypeOf(found.st_mode);
    facts.hasUser = facts.hasGroup = true;
    facts.permissions = PermissionsOf(found.st_mode);
    facts.size = found.st_size;
    facts.links = static_cast<std::uint32_t>(found.st_nlink);
    facts.user = found.st_uid;
    facts.group = found.st_gid;
    facts.created = Microseconds(found.st_ctim);
    facts.accessed = Microseconds(found.st_atim);
    facts.modified = Microseconds(found.st_mtim);
    return APR_SUCCESS;
}

apr_status_t QueryPermissions(const char*, int&) noexcept {
    return APR_ENOTIMPL;
}

apr_status_t FindFile(const char* name) noexcept {
    if (faccessat(AT_FDCWD, name, F_OK, AT_EACCESS) == 0) {
        return APR_SUCCESS;
    }
    // A sandbox may refuse that call, and old kernels lack the flag.
    struct stat found {};
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    return !missing && stat(name, &found) == 0 ? APR_SUCCESS : errno;
}

}  // namespace zukel::platform
