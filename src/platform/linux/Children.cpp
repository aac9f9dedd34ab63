#include "platform/Children.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <utility>

#include "platform/linux/Child.h"
#include "platform/linux/ProcessDescriptor.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// How many children one call looks at, at half a microsecond each. Each start and each forgotten
/// child makes such a call, so with n running children about n / 64 zombies wait to be reaped.
constexpr int kReapBatch = 32;

struct {
    std::mutex lock;
    Child* first = nullptr;
    Child* last = nullptr;
} children;  // constant-initialised, and nothing to destroy: loading the library runs nothing

using Lock = std::lock_guard<std::mutex>;

void Append(Child* child) noexcept {
    child->next = nullptr;
    (children.first == nullptr ? children.first : children.last->next) = child;
    children.last = child;
}

Child* TakeFirst() noexcept {
    Child* const child = std::exchange(children.first, children.first->next);
    if (children.first == nullptr) {
        children.last = nullptr;
    }
    return child;
}

void Unref(Child* child) noexcept {
    if (--child->refs == 0) {
        delete child;
    }
}

/// A number that identifies the process until the system restarts, or 0 where there is none. It is
/// the inode of a pidfd from Linux 6.9 on; before, all pidfds share one inode, and where a long has
/// 32 bits the number is truncated.
ino_t IdentityOf(const Descriptor& process) noexcept {
    constexpr auto kProcessFileSystem = 0x50494446;
    struct statfs system {};
    struct stat facts {};
    if (sizeof(long) < 8 || fstatfs(process.Get(), &system) != 0 ||
        system.f_type != kProcessFileSystem || fstat(process.Get(), &facts) != 0) {
        return 0;
    }
    return facts.st_ino;
}

/// For a child without handle and pidfd. Its pid is only tested; a process that may have reused the
/// pid is not reaped.
bool ReapByIdentity(Child& child) noexcept {
    const ChildState state = AskForChild(P_PID, child.pid, WNOWAIT);
    if (state != ChildState::Ended) {
        return state == ChildState::Lost;
    }
    const Descriptor process = OpenProcessDescriptor(child.pid);
    if (!process) {
        return IsNoSuchProcess(errno);
    }
    const ino_t identity = IdentityOf(process);
    if (identity == child.identity) {
        return AskForChild(kByDescriptor, process.Get(), 0, child.end) != ChildState::Unknown;
    }
    return identity != 0;
}

/// Whether the child has ended; if so it is reaped, unless somebody else has done that.
bool Reap(Child& child) noexcept {
    if (child.process) {
        const ChildState state = AskForChild(kByDescriptor, child.process.Get(), 0, child.end);
        // A forked copy of this process gets Lost too.
        return state == ChildState::Ended || (state == ChildState::Lost && HasEnded(child.process));
    }
    if (child.identity != 0) {
        return ReapByIdentity(child);
    }
    const ChildState state = AskForChild(P_PID, child.pid, 0, child.end);
    return state == ChildState::Ended || state == ChildState::Lost;
}

/// By its pidfd if it has one, else by its pid.
ChildState Peek(Child& child) noexcept {
    return child.process ? AskForChild(kByDescriptor, child.process.Get(), WNOWAIT, child.end)
                         : AskForChild(P_PID, child.pid, WNOWAIT, child.end);
}

void ReapIfEnded(Child& child) noexcept {
    if (child.kept) {
        // Somebody else may have reaped it all the same.
        child.kept = child.reaped || Peek(child) != ChildState::Lost;
        if (child.kept) {
            return;
        }
    }
    if (!child.reaped && Reap(child)) {
        child.reaped = true;
        child.process.Close();
    }
}

void ReapSome() noexcept {
    bool all = children.first == nullptr;
    const Child* const newest = children.last;
    for (int looked = 0; looked < kReapBatch && !all; ++looked) {
        Child* const child = TakeFirst();
        all = child == newest;
        ReapIfEnded(*child);
        if (child->reaped) {
            Unref(child);
        } else {
            Append(child);
        }
    }
}

}  // namespace

void ReapChildren() noexcept {
    const Lock lock(children.lock);
    ReapSome();
}

ChildHandle Adopt(std::unique_ptr<Child> child, pid_t pid) noexcept {
    child->pid = pid;
    child->process = OpenProcessDescriptor(pid);
    if (child->process) {
        // A program that reaps all its children may have reaped this one already, and its pid may
        // have been reused: only a child of ours is accepted.
        const ChildState state =
            AskForChild(kByDescriptor, child->process.Get(), child->kept ? WNOWAIT : 0, child->end);
        const bool left = child->kept && state == ChildState::Ended;
        child->reaped = !left && (state == ChildState::Ended || state == ChildState::Lost);
        if (state != ChildState::Running && !left) {
            child->process.Close();
        }
    } else {
        child->reaped = IsNoSuchProcess(errno);
    }
    if (!child->reaped) {
        const Lock lock(children.lock);
        ++child->refs;
        Append(child.get());
    }
    return ChildHandle(child.release());
}

void Forget(Child* child) noexcept {
    const Uncancelled uncancelled;
    const Lock lock(children.lock);
    child->kept = false;
    ReapIfEnded(*child);
    if (child->process) {
        // An abandoned child must not hold a descriptor of the program.
        child->identity = IdentityOf(child->process);
        if (child->identity != 0) {
            child->process.Close();
        }
    }
    Unref(child);
    ReapSome();
}

int Identifier(const Child& child) noexcept {
    return child.pid;
}

bool IsRunning(Child& child) noexcept {
    const Uncancelled uncancelled;
    const Lock lock(children.lock);
    ReapIfEnded(child);
    return !child.reaped;
}

apr_status_t End(Child& child) noexcept {
    const Uncancelled uncancelled;
    const Lock lock(children.lock);
    ReapIfEnded(child);
    if (child.reaped) {
        return ESRCH;
    }
    const bool sent = child.process ? SendSignal(child.process, child.pid, SIGTERM)
                                    : kill(child.pid, SIGTERM) == 0;
    return sent ? APR_SUCCESS : errno;
}

void EndGroup(Child& child) noexcept {
    const Uncancelled uncancelled;
    const Lock lock(children.lock);
    ReapIfEnded(child);
    // 0 and 1 would signal the caller's own group and every process.
    if (child.kept && !child.reaped && child.pid > 1 && Peek(child) != ChildState::Lost &&
        getpgid(child.pid) == child.pid) {
        kill(-child.pid, SIGKILL);
    }
}

apr_status_t QueryEnd(Child& child, ChildEnd& end) noexcept {
    const Uncancelled uncancelled;
    const Lock lock(children.lock);
    ReapIfEnded(child);
    if (!child.reaped && !child.end.known) {
        return EBUSY;
    }
    if (!child.end.known) {
        return ECHILD;
    }
    end = child.end;
    return APR_SUCCESS;
}

apr_status_t WaitForEnd(Child& child, Deadline deadline) noexcept {
    const Uncancelled uncancelled;
    bool ended = false;
    for (int pause = 1;; pause = std::min(2 * pause, 16)) {
        Descriptor process;
        {
            const Lock lock(children.lock);
            ReapIfEnded(child);
            if (ended || child.reaped || child.end.known) {
                return APR_SUCCESS;
            }
            if (child.process) {
                // Another thread may reap the child and close its descriptor meanwhile.
                process = Descriptor(fcntl(child.process.Get(), F_DUPFD_CLOEXEC, 0));
            }
        }
        const int left = MilliSecondsTo(deadline);
        if (left == 0) {
            return APR_TIMEUP;
        }
        const int result = process ? AwaitEnd(process, left)
                                   : poll(nullptr, 0, left < 0 ? pause : std::min(left, pause));
        if (result < 0 && errno != EINTR) {
            return errno;
        }
        ended = result > 0;
    }
}

}  // namespace zukel::platform
