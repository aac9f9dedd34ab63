#include "platform/ProcessLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

// Copies of the library share no memory that they could find without a lock. The system has one
// directory for each process that only its own user can open, so it is the directory that is
// locked: nobody else can hold up the process, and the copy that a fork makes has another
// directory.

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
