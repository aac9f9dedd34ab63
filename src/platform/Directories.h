#pragma once

#include <apr_errno.h>
#include <apr_file_info.h>

#include <memory>

#include "zuString.h"

/// What the platform provides for directories. Names are the caller's bytes.
/// Plain functions, chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// An open directory, in the platform's own form.
struct DirectoryStream;

/// Closes it. No child process inherits it.
///
/// @returns 0 or the reason. The stream is gone either way.
apr_status_t CloseDirectory(DirectoryStream* directory) noexcept;

struct ReleaseDirectory {
    void operator()(DirectoryStream* directory) const noexcept { CloseDirectory(directory); }
};
/// Holds an open directory, or none.
using DirectoryHandle = std::unique_ptr<DirectoryStream, ReleaseDirectory>;

/// Opens a directory, to be read from its first entry on. Windows: the name is UTF-8.
///
/// @param directory receives it; unchanged on failure.
/// @returns 0 or the reason.
apr_status_t OpenDirectory(const char* name, DirectoryHandle& directory) noexcept;

/// Rewinds to before the first entry.
///
/// @returns 0 or the reason.
apr_status_t RewindDirectory(DirectoryStream& directory) noexcept;

/// The name of the next entry, including "." and ".." where the system has them, in the system's
/// order.
///
/// @returns null at the end and after an error. The text is valid until the next call for the
/// directory. Windows: UTF-8.
const char* NextEntry(DirectoryStream& directory) noexcept;

/// The same, with the reason when there is no name.
///
/// @param entry receives the name, or null at the end and after an error.
/// @returns 0, also at the end, or the reason.
apr_status_t ReadEntry(DirectoryStream& directory, const char*& entry) noexcept;

/// Makes one directory.
///
/// @param perms permission bits. Linux: less the umask. Windows: without effect.
/// @returns 0 or the reason: one of `APR_STATUS_IS_ENOENT` when a parent is missing, of
/// `APR_STATUS_IS_EEXIST` when something has the name.
apr_status_t MakeDirectory(const char* path, apr_fileperms_t perms) noexcept;

/// Creates a directory that only its owner may use.
///
/// @param name ends in at least six `X`, the last of which are replaced until the name is free.
/// Linux: six of them; Windows: all.
/// @returns 0 or the reason.
apr_status_t MakeTemporaryDirectory(char* name) noexcept;

/// Whether the name leads to a directory.
bool IsDirectory(const char* path) noexcept;

/// Removes one empty directory.
///
/// @returns 0 or the reason.
apr_status_t RemoveEmptyDirectory(const char* path) noexcept;

/// Waits until the names in a directory are on disk. Linux: `fsync`, which needs the right to
/// read it. Windows: a success without effect for every directory; see `kelDirectory::Sync`.
///
/// @returns 0 or the reason.
apr_status_t SyncNames(const char* path) noexcept;

/// Reports the current directory of the process, with the system's own separators.
///
/// @returns 0, or the reason with `path` unchanged. Throws `std::bad_alloc`.
apr_status_t QueryCurrentDirectory(zuString& path);

/// Changes the current directory of the process.
///
/// @returns 0 or the reason.
apr_status_t ChangeCurrentDirectory(const char* path) noexcept;

/// Whether a byte separates components of a path.
bool IsSeparator(char byte) noexcept;

/// Whether a path is relative to the current directory. Windows: also one with a drive but no root,
/// or a root but no drive.
bool IsReadFromCurrentDirectory(const char* path) noexcept;

}  // namespace zukel::platform
