#pragma once

#include <apr_dso.h>

/// What the portable code asks of the platform about modules. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
namespace zukel::platform {

/// Loads a module, with all symbols that it needs bound. Linux: `apr_dso_load`. Windows:
/// `LoadLibraryExW`, of a name with directories in its absolute form, of another one from the
/// folders of the program and of the system alone; never from the current directory, in which the
/// runtime looks.
///
/// @param name the caller's bytes, not empty. Windows: UTF-8; the system adds no `.dll`.
/// @param tried receives what is to be unloaded by `apr_dso_unload`; after a failure what
/// `apr_dso_error` tells the reason of, or null where the status tells it all.
/// @returns 0 or the reason.
apr_status_t LoadModule(const char* name, apr_pool_t* pool, apr_dso_handle_t*& tried) noexcept;

}  // namespace zukel::platform
