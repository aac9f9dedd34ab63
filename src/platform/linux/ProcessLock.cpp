#include "platform/ProcessLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

// Copies of the library have no common memory that they could find without a lock. So they lock the
// process's directory in /proc: only its own user can open it, so nobody else can block the
// process, and a forked copy has another one.

namespace zukel::platform {

std::intptr_t LockProcess() noexcept {
    const Uncancelled uncancelled;
    const int directory =
        Uninterrupted([] { return open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (directory >= 0) {
        Uninterrupted([=] { return flock(directory, LOCK_EX); });
    }
    return directory;
}

void UnlockProcess(std::intptr_t lock) noexcept {
    const Uncancelled uncancelled;
    const int directory = static_cast<int>(lock);
    if (directory >= 0) {
        flock(directory, LOCK_UN);  // closing is not enough: a fork may have copied the descriptor
        close(directory);
    }
}

}  // namespace zukel::platform
