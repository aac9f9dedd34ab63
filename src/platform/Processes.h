#pragma once

#include <apr_errno.h>

#include <memory>

#include "platform/Files.h"

/// What the portable code asks of the platform about processes. Plain functions, chosen at link
/// time: one folder below this one implements each of them.
namespace zukel::platform {

/// A program to be started. The caller owns all of it.
struct Program {
    const char* const* arguments;  ///< Ends with null; the first is the program's name.
    const char* directory;         ///< The child's working directory, or null for the caller's.
    const FileHandle* output;      ///< Takes standard output; null: it goes nowhere.
    const FileHandle* error;  ///< Takes standard error; null: it goes nowhere. May be `output`.
    bool detach;              ///< In a session of its own (Linux).
};

/// A process that `Launch` has started, in the platform's own form.
struct Child;

/// Gives a child up: it runs on, and whatever the system keeps of it until somebody has collected
/// it is released in due time. Windows: closes its handle.
void Forget(Child* child) noexcept;

struct ForgetChild {
    void operator()(Child* child) const noexcept { Forget(child); }
};
/// Holds a child, or none.
using ChildHandle = std::unique_ptr<Child, ForgetChild>;

/// Starts a program. The name is looked for along the search path unless it has a `/`; the child
/// inherits the environment and standard input, and nothing else that this library has opened.
/// Windows: `CreateProcessW`; the program is looked for in the
/// system's directories and along the absolute entries of `PATH`, a batch file runs under the
/// system's `cmd.exe` with quoted arguments or is refused, and what the child inherits is listed.
/// Linux: `posix_spawnp`, with the visible behaviour of the runtime's
/// fork: signal mask and ignored signals inherited, SIGCHLD at its default, a script without an
/// interpreter line run by `/bin/sh`, relative names found from the child's working directory.
///
/// Throws `std::bad_alloc`, before anything was started.
///
/// @param child receives the child; unchanged on failure.
/// @returns the reason when the program was not started, a working directory that cannot be entered
/// and a program that cannot be found or run included. No child is left then.
apr_status_t Launch(const Program& program, ChildHandle& child);

/// The identifier of a child, also after it has ended.
int Identifier(const Child& child) noexcept;

/// Whether a child runs. Windows: `GetExitCodeProcess`.
bool IsRunning(Child& child) noexcept;

/// Ends a child and no other process. Windows: `TerminateProcess` of one that runs. Linux: SIGTERM.
///
/// @returns the reason when it was not ended, because it had ended already or the system refused.
apr_status_t End(Child& child) noexcept;

/// Whether a process with this identifier runs; one that has ended and waits to be collected does
/// not. Windows: `OpenProcess`, `GetExitCodeProcess`, `CloseHandle`; one that may not be opened
/// runs.
///
/// @param pid above 0.
bool IsProcessRunning(int pid) noexcept;

/// Ends any process. Windows: `OpenProcess`, `TerminateProcess`, `CloseHandle`. Linux: SIGKILL.
///
/// @param pid above 0: other numbers mean groups of processes to some systems.
/// @returns whether there was such a process and the system agreed.
bool EndProcess(int pid) noexcept;

/// The identifier of the calling process. Windows: `_getpid`.
int CurrentProcess() noexcept;

}  // namespace zukel::platform
