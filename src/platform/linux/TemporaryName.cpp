#include "platform/linux/TemporaryName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "platform/linux/CopyRules.h"
#include "platform/linux/SystemCall.h"

namespace zukel::platform {

namespace {

/// Renames within a directory. @returns -1 with EEXIST when something has the new name.
int RenameToFree(int directory, const char* from, const char* to) noexcept {
    if (renameat2(directory, from, directory, to, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (!IsRefusal(errno)) {
        return -1;
    }
    // Without that call: by a hard link; and without hard links, by testing the name first.
    if (linkat(directory, from, directory, to, 0) == 0) {
        if (unlinkat(directory, from, 0) == 0) {
            return 0;
        }
        const int error = errno;
        unlinkat(directory, to, 0);
        errno = error;
        return -1;
    }
    struct stat present {};
    if (!IsRefusal(errno) || fstatat(directory, to, &present, AT_SYMLINK_NOFOLLOW) == 0) {
        return -1;
    }
    return errno == ENOENT ? renameat(directory, from, directory, to) : -1;
}

}  // namespace

TemporaryName::~TemporaryName() {
    if (used_) {
        unlinkat(directory_, Get(), 0);
    }
}

template <typename Make>
int TemporaryName::Find(Make make) noexcept {
    constexpr int kAttempts = 1000;
    int result = -1;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        std::snprintf(name_.data(), name_.size(), ".zukel-%llx",
                      static_cast<unsigned long long>(now.tv_sec) << 30U |
                          static_cast<unsigned long long>(now.tv_nsec));
        result = make(Get());
        if (result >= 0 || errno != EEXIST) {
            break;
        }
    }
    used_ = result >= 0;
    return result;
}

Descriptor TemporaryName::MakeFile(mode_t mode) noexcept {
    return Descriptor(Find([this, mode](const char* name) {
        return Uninterrupted([&] {
            return openat(directory_, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        });
    }));
}

bool TemporaryName::MakeLink(const char* text) noexcept {
    return Find([&](const char* name) { return symlinkat(text, directory_, name); }) == 0;
}

bool TemporaryName::TakeOver(const char* name) noexcept {
    return Find([&](const char* own) {
               const int linked = linkat(directory_, name, directory_, own, 0);
               return linked == 0 || errno == EEXIST || errno == ENOENT
                          ? linked
                          : renameat(directory_, name, directory_, own);
           }) == 0;
}

bool TemporaryName::MoveAside(const char* name) noexcept {
    const int moved = Find([&](const char* own) { return RenameToFree(directory_, name, own); });
    used_ = false;
    return moved == 0;
}

bool TemporaryName::MoveBack(const char* name) const noexcept {
    return RenameToFree(directory_, Get(), name) == 0;
}

}  // namespace zukel::platform
