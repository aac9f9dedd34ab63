#pragma once

#include <apr_errno.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>

#include "platform/Files.h"
#include "zuString.h"

/// What the platform provides for processes. Plain functions, chosen at link
/// time: one folder below this one implements each of them.
namespace zukel::platform {

/// Where a stream of a child leads: to where the caller's leads, to nothing, or to an open file.
struct Stream {
    enum class Kind { Inherited, Nothing, File };
    Kind kind = Kind::Inherited;
    const FileHandle* file = nullptr;  ///< For `File` alone. The two outputs may have the same one.
};

/// A program to be started. The caller owns all of it.
struct Program {
    const char* const* arguments;  ///< Ends with null; the first is the program's name.
    const char* directory;         ///< The child's working directory, or null for the caller's.
    /// The child's environment, "NAME=VALUE" each and null at the end, or null for the caller's.
    const char* const* environment;
    Stream input;
    Stream output;
    Stream error;
    bool detach;  ///< In a session of its own (Linux).
    bool group;   ///< `EndGroup` will be called for it.
};

/// A process that `Launch` has started, in the platform's own form.
struct Child;

/// Abandons a child: it runs on, and is reaped some time after its end. Windows: closes its handle.
void Forget(Child* child) noexcept;

struct ForgetChild {
    void operator()(Child* child) const noexcept { Forget(child); }
};
/// Holds a child, or none.
using ChildHandle = std::unique_ptr<Child, ForgetChild>;

/// Starts a program. The name is searched for along the search path unless it contains a `/`; the
/// child inherits the environment and standard input, and nothing else that this library has
/// opened. Windows: `CreateProcessW`; the program is searched for in the system's directories and
/// along the absolute entries of `PATH`, a batch file runs under the system's `cmd.exe` with quoted
/// arguments or is refused, and what the child inherits is listed. Linux: `posix_spawnp`, with the
/// visible behaviour of APR's fork: signal mask and ignored signals inherited, SIGCHLD at its
/// default, a script without an interpreter line run by `/bin/sh`, relative names found from the
/// child's working directory.
///
/// Throws `std::bad_alloc`, before anything was started.
///
/// @param child receives the child; unchanged on failure.
/// @returns the reason if the program was not started, including a working directory that cannot be
/// entered and a program that cannot be found or run. No child is left then.
apr_status_t Launch(const Program& program, ChildHandle& child);

/// A moment up to which something is waited for.
using Deadline = std::chrono::steady_clock::time_point;
inline constexpr Deadline kNoDeadline = Deadline::max();

/// The time up to a deadline as `poll` and the waiting calls of Windows take it: rounded up, to
/// avoid busy polling just before it; 0 if it is over, -1 if there is none. It may be less than is
/// left.
inline int MilliSecondsTo(Deadline deadline) noexcept {
    using std::chrono::milliseconds;
    if (deadline == kNoDeadline) {
        return -1;
    }
    const auto now = std::chrono::steady_clock::now();
    if (deadline <= now) {
        return 0;
    }
    constexpr milliseconds kMost(std::numeric_limits<int>::max());
    return static_cast<int>(
        std::min(std::chrono::ceil<milliseconds>(deadline - now), kMost).count());
}

/// Waits until a child has ended. Any number of threads may wait for one. Linux: `poll` on a copy
/// of its pidfd, as another thread may reap the child; without a pidfd it is polled. Windows:
/// `WaitForSingleObject`.
///
/// @returns 0, or one of `APR_STATUS_IS_TIMEUP`.
apr_status_t WaitForEnd(Child& child, Deadline deadline) noexcept;

/// How a child has ended.
struct ChildEnd {
    bool known = false;
    int code = 0;    ///< Its exit code, unless a signal has ended it.
    int signal = 0;  ///< That signal, or 0. Windows: 0.
};

/// Reports how a child ended, however long ago.
///
/// @param end unchanged on failure.
/// @returns the reason: it still runs (`EBUSY`), or its end is unknown (Linux: `ECHILD`).
apr_status_t QueryEnd(Child& child, ChildEnd& end) noexcept;

/// Terminates a child that was started with `group`, and every process that it has started in that
/// group. Nothing else is ever terminated: if the group's id may have been reused, nothing is done.
/// Linux: SIGKILL to the process group; the child is not reaped before `Forget`, so its pid is not
/// reused. Windows: `TerminateJobObject`.
void EndGroup(Child& child) noexcept;

/// The program's ends of the pipes of a child. Linux: they do not block. Windows: they are
/// overlapped.
struct Pipes {
    FileHandle input;   ///< Written.
    FileHandle output;  ///< Read, and so is the next.
    FileHandle errors;
};

/// Makes a pipe between the program and a child. No child inherits either end by itself.
///
/// @param own the program's end; unchanged on failure, as is `child`.
/// @param write whether the program writes to it.
/// @returns 0 or the reason.
apr_status_t MakePipe(bool write, FileHandle& own, FileHandle& child) noexcept;

/// What an `Exchange` waits for.
enum class Until {
    Written,     ///< All of `source` is in the pipe.
    OutputRead,  ///< `output` is not empty, or its pipe is at its end.
    ErrorsRead,  ///< The same for `errors`.
    AllEnded     ///< The input is written and closed, and both outputs are at their end.
};

/// What an `Exchange` transfers.
struct Transfer {
    const char* source;  ///< What is to be written.
    std::size_t size;    ///< How much of it is left.
    zuString& output;    ///< What was read is appended.
    zuString& errors;
};

/// Whether an `Exchange` is complete; closes an input that is completely written.
inline bool IsDone(Pipes& pipes, const Transfer& transfer, Until until) noexcept {
    switch (until) {
        case Until::Written:
            return transfer.size == 0 || !pipes.input;
        case Until::OutputRead:
            return !transfer.output.empty() || !pipes.output;
        case Until::ErrorsRead:
            return !transfer.errors.empty() || !pipes.errors;
        default:
            if (transfer.size == 0) {
                CloseFile(pipes.input);
            }
            return !pipes.input && !pipes.output && !pipes.errors;
    }
}

/// Writes and reads the pipes at the same time, until what is waited for has happened or cannot
/// happen any more. A pipe at its end is closed, and so is an input that nobody reads. Throws
/// `std::bad_alloc`; transfers made until then stay made.
///
/// @returns 0; one of `APR_STATUS_IS_TIMEUP`; for `Written` the reason when the input is closed;
/// or why the system could not wait.
apr_status_t Exchange(Pipes& pipes, Transfer& transfer, Until until, Deadline deadline);

/// The identifier of a child, also after it has ended.
int Identifier(const Child& child) noexcept;

/// Whether a child runs. Windows: `GetExitCodeProcess`.
bool IsRunning(Child& child) noexcept;

/// Ends a child and no other process. Windows: `TerminateProcess` of one that runs. Linux: SIGTERM.
///
/// @returns the reason when it was not ended, because it had ended already or the system refused.
apr_status_t End(Child& child) noexcept;

/// Whether a process with this identifier runs; a zombie does not. Windows: `OpenProcess`,
/// `GetExitCodeProcess`, `CloseHandle`; one that may not be opened runs.
///
/// @param pid above 0.
bool IsProcessRunning(int pid) noexcept;

/// Ends any process. Windows: `OpenProcess`, `TerminateProcess`, `CloseHandle`. Linux: SIGKILL.
///
/// @param pid above 0: on some systems other numbers mean process groups.
/// @returns whether there was such a process and the system agreed.
bool EndProcess(int pid) noexcept;

/// The path of the running program. Linux: `/proc/self/exe`. Windows: `GetModuleFileNameW`. Throws
/// `std::bad_alloc`.
///
/// @param path unchanged on failure.
/// @returns 0 or the reason.
apr_status_t QueryProgramPath(zuString& path);

/// Looks for a program as `Launch` does, from the caller's directory. Throws `std::bad_alloc`.
///
/// @param name not empty.
/// @param path unchanged on failure.
/// @returns 0 or the reason.
apr_status_t FindProgramFile(const char* name, zuString& path);

/// The identifier of the calling process. Windows: `_getpid`.
int CurrentProcess() noexcept;

}  // namespace zukel::platform
