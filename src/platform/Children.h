#pragma once

#include <apr_errno.h>

#include <memory>

#include "platform/Deadline.h"
#include "platform/Files.h"

/// What the platform provides for the processes that it starts. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
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

/// The identifier of a child, also after it has ended.
int Identifier(const Child& child) noexcept;

/// Whether a child runs. Windows: `GetExitCodeProcess`.
bool IsRunning(Child& child) noexcept;

/// Ends a child and no other process. Windows: `TerminateProcess` of one that runs. Linux: SIGTERM.
///
/// @returns the reason when it was not ended, because it had ended already or the system refused.
apr_status_t End(Child& child) noexcept;

}  // namespace zukel::platform
