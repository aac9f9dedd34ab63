#pragma once

#include <apr_file_info.h>

/// What the portable code asks of the platform to describe a file by its name. Plain functions,
/// chosen at link time. The runtime describes a link itself by another call on each system.
namespace zukel::platform {

/// Describes the file, a link itself and not its target. Nothing is created, and no right to read
/// the contents is needed.
///
/// @param info filled in, with `valid` telling which fields; it may point to `name` afterwards.
/// @param wanted the fields asked for, as `APR_FINFO_` bits.
/// @returns the runtime's status; `APR_INCOMPLETE` when only a part of the fields could be had.
///
/// Windows: `apr_file_open` with the flags 0x730000 (no access to the contents, the link itself,
/// the right to read owner and permissions), `apr_file_info_get`, `apr_file_close`. Linux: the
/// runtime's open refuses such flags; `apr_stat` with `APR_FINFO_LINK`, and nothing is opened.
apr_status_t QueryFile(apr_finfo_t& info, const char* name, apr_int32_t wanted,
                       apr_pool_t* pool) noexcept;

/// The permissions of the same file, in `info.protection`, where `QueryFile` has not brought them.
///
/// @returns the runtime's status. Windows: `apr_stat` with `APR_FINFO_PROT`. Linux: the same with
/// `APR_FINFO_LINK`; `QueryFile` brings them, so this is not called.
apr_status_t QueryPermissions(apr_finfo_t& info, const char* name, apr_pool_t* pool) noexcept;

}  // namespace zukel::platform
