#include "platform/Directories.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "platform/linux/Descriptor.h"
#include "platform/linux/Permissions.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// The contract's type for an open directory stands for the C library's.
DIR* ForSystem(DirectoryStream* directory) noexcept {
    return reinterpret_cast<DIR*>(directory);
}

}  // namespace

apr_status_t OpenDirectory(const char* name, DirectoryHandle& directory) noexcept {
    DIR* opened = nullptr;
    do {
        opened = opendir(name);  // which sets close-on-exec
    } while (opened == nullptr && errno == EINTR);
    if (opened == nullptr) {
        return errno;
    }
    directory.reset(reinterpret_cast<DirectoryStream*>(opened));
    return APR_SUCCESS;
}

apr_status_t CloseDirectory(DirectoryStream* directory) noexcept {
    return StatusOf(closedir(ForSystem(directory)));
}

apr_status_t RewindDirectory(DirectoryStream& directory) noexcept {
    rewinddir(ForSystem(&directory));
    return APR_SUCCESS;
}

const char* NextEntry(DirectoryStream& directory) noexcept {
    const dirent* const entry = readdir(ForSystem(&directory));
    return entry != nullptr ? entry->d_name : nullptr;
}

apr_status_t ReadEntry(DirectoryStream& directory, const char*& entry) noexcept {
    errno = 0;
    entry = NextEntry(directory);
    return entry != nullptr ? APR_SUCCESS : errno;
}

apr_status_t MakeDirectory(const char* path, apr_fileperms_t perms) noexcept {
    return StatusOf(mkdir(path, ModeOf(perms)));
}

apr_status_t MakeTemporaryDirectory(char* name) noexcept {
    const Uncancelled uncancelled;  // glibc 2.36: in one of 22 calls mkdtemp calls getrandom
    return mkdtemp(name) != nullptr ? APR_SUCCESS : errno;
}

bool IsDirectory(const char* path) noexcept {
    struct stat facts {};
    return stat(path, &facts) == 0 && S_ISDIR(facts.st_mode);
}

apr_status_t RemoveEmptyDirectory(const char* path) noexcept {
    return StatusOf(rmdir(path));
}

apr_status_t SyncNames(const char* path) noexcept {
    const Descriptor directory(
        Uninterrupted([&] { return OpenDescriptor(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); }));
    const auto sync = [&] { return syscall(SYS_fsync, directory.Get()); };
    return directory && Uninterrupted(sync) == 0 ? APR_SUCCESS : errno;
}

apr_status_t QueryCurrentDirectory(zuString& path) {
    char text[PATH_MAX];
    if (getcwd(text, sizeof text) == nullptr) {
        return errno;
    }
    path.assign(text);
    return APR_SUCCESS;
}

apr_status_t ChangeCurrentDirectory(const char* path) noexcept {
    return StatusOf(chdir(path));
}

bool IsSeparator(char byte) noexcept {
    return byte == '/';
}

bool IsReadFromCurrentDirectory(const char* path) noexcept {
    return *path != '/';
}

}  // namespace zukel::platform
