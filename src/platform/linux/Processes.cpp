#include "platform/Processes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

#include "platform/linux/ProcessDescriptor.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// Without pidfds. The zombie of a foreign process counts as running here.
bool IsNumberRunning(pid_t pid) noexcept {
    const ChildState state = AskForChild(P_PID, pid, WNOWAIT);
    if (state == ChildState::Lost) {
        return kill(pid, 0) == 0 || errno == EPERM;
    }
    return state == ChildState::Running;
}

}  // namespace

bool IsProcessRunning(int pid) noexcept {
    const Uncancelled uncancelled;
    const Descriptor process = OpenProcessDescriptor(pid);
    return process ? !HasEnded(process) : !IsNoSuchProcess(errno) && IsNumberRunning(pid);
}

apr_status_t EndProcess(int pid) noexcept {
    const Uncancelled uncancelled;
    const Descriptor process = OpenProcessDescriptor(pid);
    const bool runs =
        process ? !HasEnded(process) : !IsNoSuchProcess(errno) && IsNumberRunning(pid);
    if (!runs) {
        return ESRCH;
    }
    const bool sent = process ? SendSignal(process, pid, SIGKILL) : kill(pid, SIGKILL) == 0;
    return sent ? APR_SUCCESS : errno;
}

apr_status_t QueryProgramPath(zuString& path) {
    zuString room(256, '\0');
    for (;;) {
        const ssize_t size = readlink("/proc/self/exe", room.data(), room.size());
        if (size < 0) {
            return errno;
        }
        const auto length = static_cast<std::size_t>(size);
        if (length < room.size()) {
            path.assign(room, 0, length);
            return APR_SUCCESS;
        }
        room.resize(2 * room.size());
    }
}

apr_status_t FindProgramFile(const char* name, zuString& path) {
    apr_status_t status = ENOENT;
    for (std::string& candidate : Candidates(name)) {
        struct stat found {};
        if (stat(candidate.c_str(), &found) != 0) {
            continue;
        }
        if (S_ISREG(found.st_mode) &&
            faccessat(AT_FDCWD, candidate.c_str(), X_OK, AT_EACCESS) == 0) {
            path = std::move(candidate);
            return APR_SUCCESS;
        }
        status = EACCES;
    }
    return status;
}

int CurrentProcess() noexcept {
    return getpid();
}

}  // namespace zukel::platform
