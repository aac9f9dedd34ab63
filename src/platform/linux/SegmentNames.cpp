#include "platform/linux/SegmentNames.h"

#include <apr_hash.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/linux/Repetition.h"
#include "platform/linux/Segment.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// The lock under which the name of a segment is removed. It is held for two system calls, so a
/// wait of a second means that its holder was suspended.
class RemovalLock {
public:
    explicit RemovalLock(const Descriptor& file) noexcept : file_(file.Get()) {
        constexpr int kForASecond = 10;
        busy_ = Repeated(
            kForASecond,
            [this] { return flock(file_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; },
            [](bool busy) { return busy; });
    }
    ~RemovalLock() {
        flock(file_, LOCK_UN);  // closing is not enough: a fork may have copied the descriptor
    }
    RemovalLock(const RemovalLock&) = delete;
    RemovalLock& operator=(const RemovalLock&) = delete;

    bool IsBusy() const noexcept { return busy_; }

private:
    int file_;
    bool busy_;
};

/// Removes the name if it stands for this file. @returns as `RemoveNameOf`.
apr_status_t RemoveIf(const SegmentPath& path, dev_t device, ino_t inode) noexcept {
    struct stat facts {};
    if (lstat(path.Text(), &facts) != 0) {
        return errno;
    }
    if (facts.st_dev != device || facts.st_ino != inode) {
        return ENOENT;
    }
    return unlink(path.Text()) == 0 ? APR_SUCCESS : errno;
}

}  // namespace

SegmentPath::SegmentPath(const char* name) noexcept {
    auto length = static_cast<apr_ssize_t>(std::strlen(name));
    const unsigned first = apr_hashfunc_default(name, &length);
    unsigned second = 0;
    unsigned factor = 63689;
    for (; *name != '\0'; ++name) {
        second = second * factor + static_cast<unsigned>(*name);
        factor *= 378551;
    }
    std::snprintf(text_, sizeof text_, "%s/ShM.%xH%x", kFolder, first, second);
}

bool IsTrusted(const struct stat& facts) noexcept {
    return (facts.st_uid == geteuid() || facts.st_uid == 0) &&
           (facts.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

apr_status_t RemoveNameOf(const Descriptor& file, const SegmentPath& path) noexcept {
    struct stat facts {};
    if (fstat(file.Get(), &facts) != 0) {
        return errno;
    }
    const RemovalLock lock(file);
    // Another user may hold the lock on a file of their own for ever.
    if (lock.IsBusy() && IsTrusted(facts)) {
        return EBUSY;
    }
    return RemoveIf(path, facts.st_dev, facts.st_ino);
}

Descriptor OpenToRemove(const SegmentPath& path) noexcept {
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    return Descriptor(Uninterrupted([&] { return open(path.Text(), kFlags); }));
}

apr_status_t RemoveName(const char* name) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    const Descriptor file = OpenToRemove(path);
    if (file) {
        return RemoveNameOf(file, path);
    }
    // A file that cannot be opened is not a segment that this process could have attached to.
    return errno != ENOENT && unlink(path.Text()) == 0 ? APR_SUCCESS : errno;
}

apr_status_t RemoveSegmentName(const char* name, const Segment& segment) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    const Descriptor file = OpenToRemove(path);
    struct stat facts {};
    apr_status_t status = ENOENT;
    if (!file || fstat(file.Get(), &facts) != 0) {
        // If descriptors are exhausted, removing the name without the lock is better than leaving
        // it.
        status = RemoveIf(path, segment.device, segment.inode);
    } else if (facts.st_dev == segment.device && facts.st_ino == segment.inode) {
        status = RemoveNameOf(file, path);
    }
    return status == ENOENT ? APR_SUCCESS : status;
}

}  // namespace zukel::platform
