#pragma once

#include <apr_file_info.h>

/// What the platform provides for operations on files by name. Names are the caller's bytes and not
/// empty, except for `IsAccessible`, which takes a wide name that may be empty. Plain functions,
/// chosen at link time: one folder below this one implements each. Those that return a status
/// return 0 or the reason.
namespace zukel::platform {

/// Copies the contents of a file with the result of `apr_file_copy`: the target is made or
/// overwritten, with those permissions. APR's copy would empty a file that is copied onto itself,
/// leave a partial target after a failure, and copy 8 KiB at a time, so it is done here, by the
/// rules that `kelFile::Copy` promises. Windows: `perms` is ignored, except that
/// `PermissionOfSource` copies the read-only attribute. Two names of one file are refused before
/// anything is touched.
apr_status_t CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms) noexcept;

/// Copies a file as the platform does: contents, permissions, modification time, over an existing
/// target. Windows: `CopyFileW(from, to, 0)`, if both files can be opened. Linux: as
/// `CopyWithPermissions` with the source's permissions, and the modification time.
///
/// @param normal the target gets normal attributes as far as that is possible, so that its owner
/// may write it, also after a failure, except of a copy onto the file itself. Windows:
/// `SetFileAttributesW(to, FILE_ATTRIBUTE_NORMAL)`.
apr_status_t CopyWithAttributes(const char* from, const char* to, bool normal) noexcept;

/// Renames within a volume, over an existing target, with the result of `apr_file_rename`. Two
/// names of one file both stay, and a directory does not replace a file.
///
/// @returns one of `APR_STATUS_IS_EXDEV` for names on two volumes. Linux: `rename`. Windows:
/// `SetFileInformationByHandle` with POSIX semantics where the volume has them, so that the target
/// may be open; sharing violations are retried for about a tenth of a second.
apr_status_t RenameFile(const char* from, const char* to) noexcept;

/// Renames as the platform's own call does. Linux: `rename`. Windows: `MoveFileExW` without flags,
/// which fails when the target exists.
apr_status_t RenameInPlace(const char* from, const char* to) noexcept;

/// Renames within a volume if nothing has the new name, atomically. Linux: `renameat2`, or a second
/// link and the removal of the first. Windows: `MoveFileExW` without flags.
///
/// @returns one of `APR_STATUS_IS_EEXIST` when something has the name.
apr_status_t RenameToNew(const char* from, const char* to) noexcept;

/// Moves a file to another volume after `RenameFile` has refused to, whole or not at all, by the
/// rules that `kelFile::Rename` promises.
apr_status_t MoveAcrossVolumes(const char* from, const char* to);

/// Removes the name of a file. Linux: `unlink`. Windows: `SetFileInformationByHandle` with POSIX
/// semantics where the volume has them, so that the name is gone while the file is open.
apr_status_t RemoveFile(const char* name) noexcept;

/// The bits of `ChangeAccess`. Their values are those of Windows: `_S_IREAD` and `_S_IWRITE`.
inline constexpr int kOwnerMayRead = 0x100;
inline constexpr int kOwnerMayWrite = 0x80;

/// Sets whether the owner may read and write the file, by `mode` made of the two bits above.
/// Windows: `_wchmod(name, mode)`. Linux: `chmod` that leaves every other mode bit as it was.
apr_status_t ChangeAccess(const char* name, int mode) noexcept;

/// What `IsAccessible` tests. The values are those of Windows.
inline constexpr int kForReading = 4;
inline constexpr int kForWriting = 2;

/// Whether the system grants this process that access to the file. Windows: `_waccess` returns 0.
/// Linux: by the effective user, as an opening would. False for an empty name.
///
/// @param name the `c_str` of a `zuWString`.
bool IsAccessible(const wchar_t* name, int access);

}  // namespace zukel::platform
