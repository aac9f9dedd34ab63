#pragma once

#include <apr_errno.h>

#include "zuString.h"

/// What the platform provides for processes of any origin. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// Whether a process with this identifier runs; a zombie does not. Windows: `OpenProcess`,
/// `GetExitCodeProcess`, `CloseHandle`; one that may not be opened runs.
///
/// @param pid above 0.
bool IsProcessRunning(int pid) noexcept;

/// Ends any process. Windows: `OpenProcess`, `TerminateProcess`, `CloseHandle`. Linux: SIGKILL.
///
/// @param pid above 0: on some systems other numbers mean process groups.
/// @returns 0, or the reason: there is no such process, or the system refuses.
apr_status_t EndProcess(int pid) noexcept;

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
