#include "platform/linux/SegmentNames.h"

#include <apr_hash.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/SharedSegments.h"
#include "platform/linux/Repetition.h"
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

/// Removes the name if it stands for this file.
Removal RemoveIf(const SegmentPath& path, dev_t device, ino_t inode) noexcept {
    struct stat facts {};
    if (lstat(path.Text(), &facts) != 0) {
        return errno == ENOENT ? Removal::Another : Removal::Refused;
    }
    if (facts.st_dev != device || facts.st_ino != inode) {
        return Removal::Another;
    }
    return unlink(path.Text()) == 0 ? Removal::Done : Removal::Refused;
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

Removal RemoveNameOf(const Descriptor& file, const SegmentPath& path) noexcept {
    struct stat facts {};
    if (fstat(file.Get(), &facts) != 0) {
        return Removal::Refused;
    }
    const RemovalLock lock(file);
    // Another user may hold the lock on a file of their own for ever.
    if (lock.IsBusy() && IsTrusted(facts)) {
        return Removal::Refused;
    }
    return RemoveIf(path, facts.st_dev, facts.st_ino);
}

Descriptor OpenToRemove(const SegmentPath& path) noexcept {
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    return Descriptor(Uninterrupted([&] { return open(path.Text(), kFlags); }));
}

bool RemoveName(const char* name) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    const Descriptor file = OpenToRemove(path);
    if (file) {
        return RemoveNameOf(file, path) == Removal::Done;
    }
    // A file that cannot be opened is not a segment that this process could have attached to.
    return errno != ENOENT && unlink(path.Text()) == 0;
}

bool RemoveSegmentName(const char* name, const Segment& segment) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    const auto device = static_cast<dev_t>(segment.identity[0]);
    const auto inode = static_cast<ino_t>(segment.identity[1]);
    const Descriptor file = OpenToRemove(path);
    struct stat facts {};
    if (!file || fstat(file.Get(), &facts) != 0) {
        // If descriptors are exhausted, removing the name without the lock is better than leaving
        // it.
        return RemoveIf(path, device, inode) != Removal::Refused;
    }
    const bool another = facts.st_dev != device || facts.st_ino != inode;
    return another || RemoveNameOf(file, path) != Removal::Refused;
}

}  // namespace zukel::platform
