#include "platform/FileLocks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "platform/linux/DescriptorOf.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

// Where there are two of this call, the other one knows no locks of an opening.
#ifdef SYS_fcntl64
constexpr long kControl = SYS_fcntl64;
#else
constexpr long kControl = SYS_fcntl;
#endif

/// A blocking `fcntl` is a cancellation point.
apr_status_t ControlLock(const FileHandle& file, int command, short type) noexcept {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;  // from 0, length 0: the whole file, however long
    const auto control = [&] { return syscall(kControl, DescriptorOf(file), command, &lock); };
    return Uninterrupted(control) == 0 ? APR_SUCCESS : errno;
}

long long MonotonicMicroseconds() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}

void Pause(long long microseconds) noexcept {
    const timespec time{0, static_cast<long>(microseconds * 1000)};
    nanosleep(&time, nullptr);  // a signal makes the next try a little earlier
}

}  // namespace

apr_status_t LockWholeFile(const FileHandle& file, LockKind kind, long long microseconds) noexcept {
    const auto type = static_cast<short>(kind == LockKind::Shared ? F_RDLCK : F_WRLCK);
    if (microseconds < 0) {
        return ControlLock(file, F_OFD_SETLKW, type);
    }
    apr_status_t status = ControlLock(file, F_OFD_SETLK, type);
    if (microseconds == 0 || !APR_STATUS_IS_EAGAIN(status)) {
        return status;
    }
    constexpr long long kLongestPause = 16000;
    const Uncancelled uncancelled;
    const long long began = MonotonicMicroseconds();
    long long left = microseconds;
    for (long long pause = 1000; left > 0 && APR_STATUS_IS_EAGAIN(status); pause *= 2) {
        pause = std::min(pause, kLongestPause);
        Pause(std::min(pause, left));
        left = microseconds - (MonotonicMicroseconds() - began);
        status = ControlLock(file, F_OFD_SETLK, type);
    }
    return status;
}

apr_status_t UnlockWholeFile(const FileHandle& file) noexcept {
    return ControlLock(file, F_OFD_SETLK, F_UNLCK);
}

}  // namespace zukel::platform
