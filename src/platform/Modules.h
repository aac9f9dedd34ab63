#pragma once

#include <apr_dso.h>

/// What the platform provides for modules. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
namespace zukel::platform {

/// Loads a module, with all symbols that it needs bound. Linux: `apr_dso_load`. Windows:
/// `LoadLibraryExW`, with the absolute form of a name with directories; any other name is searched
/// for in the directories of the program and of the system alone, never in the current directory as
/// by APR.
///
/// @param name the caller's bytes, not empty. Windows: UTF-8; the system adds no `.dll`.
/// @param tried receives what is to be unloaded by `apr_dso_unload`; after a failure the handle for
/// `apr_dso_error`, or null if the status is the whole reason.
/// @returns 0 or the reason.
apr_status_t LoadModule(const char* name, apr_pool_t* pool, apr_dso_handle_t*& tried) noexcept;

}  // namespace zukel::platform
