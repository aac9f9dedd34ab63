#pragma once

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/Children.h"
#include "platform/linux/Descriptor.h"

/// Process descriptors (Linux 5.4): they name a process for good, however often its number is given
/// out again. The system calls stand here by their numbers, because the C library has names for
/// them from 2.36 on only, and there (2.36) without C linkage.
namespace zukel::platform {

/// The descriptor of the process that has this number now; `errno` tells why there is none. It is
/// close-on-exec from the start.
inline Descriptor OpenProcessDescriptor(pid_t pid) noexcept {
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

/// Whether a failed `OpenProcessDescriptor` says that there is no such process (the number of a
/// mere thread included), and not that descriptors are short or withheld.
inline bool IsNoSuchProcess(int error) noexcept {
    return error == ESRCH || error == EINVAL || error == ENOENT;
}

/// Whether it says that descriptors are short. What else keeps them back, a sandbox or an older
/// system, keeps all of them back.
inline bool IsShortage(int error) noexcept {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// Whether the process has ended, a child or not, reaped or not.
inline bool HasEnded(const Descriptor& process) noexcept {
    pollfd entry{process.Get(), POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

/// Signals the process; `errno` tells why that failed.
///
/// @param pid its number, which takes the signal where a sandbox refuses the descriptor: the number
/// is that of another process only if this one ends, and is reaped, at that very moment.
inline bool SendSignal(const Descriptor& process, pid_t pid, int signal) noexcept {
    if (syscall(SYS_pidfd_send_signal, process.Get(), signal, nullptr, 0) == 0) {
        return true;
    }
    if (errno == ESRCH || HasEnded(process)) {
        errno = ESRCH;
        return false;
    }
    return kill(pid, signal) == 0;
}

/// Waits until the process has ended or the time is over; gives what `poll` gives.
inline int AwaitEnd(const Descriptor& process, int milliSeconds) noexcept {
    pollfd entry{process.Get(), POLLIN, 0};
    return poll(&entry, 1, milliSeconds);
}

/// What `AskForChild` finds.
enum class ChildState {
    Running,  ///< A child of this process that runs.
    Ended,    ///< A child of this process that has ended and, without WNOWAIT, is now reaped.
    Lost,     ///< No child of this process, or one that somebody else has reaped.
    Unknown   ///< The system did not tell.
};

/// Asks about a child without waiting.
///
/// @param type P_PID for a number, `kByDescriptor` for a process descriptor.
/// @param flags WNOWAIT to leave an ended child uncollected, or 0.
/// @param end receives how it has ended, if it has.
inline ChildState AskForChild(idtype_t type, int id, int flags, ChildEnd& end) noexcept {
    siginfo_t info{};
    if (waitid(type, static_cast<id_t>(id), &info, WEXITED | WNOHANG | flags) != 0) {
        return errno == ECHILD ? ChildState::Lost : ChildState::Unknown;
    }
    if (info.si_pid == 0) {
        return ChildState::Running;
    }
    const bool exited = info.si_code == CLD_EXITED;
    end = {true, exited ? info.si_status : 0, exited ? 0 : info.si_status};
    return ChildState::Ended;
}
inline ChildState AskForChild(idtype_t type, int id, int flags) noexcept {
    ChildEnd end;
    return AskForChild(type, id, flags, end);
}
inline constexpr auto kByDescriptor = static_cast<idtype_t>(3);  // P_PIDFD

}  // namespace zukel::platform
