#pragma once

#include "platform/windows/Handle.h"

// What Windows has since version 8 or 10, and the headers of a build for Windows 7 leave out. An
// older system refuses these classes with ERROR_INVALID_PARAMETER, and so does Wine 8, except for
// the first.
namespace zukel::platform {

/// For `GetFileInformationByHandleEx` with `FileId128`.
constexpr auto kFileIdInfo = static_cast<FILE_INFO_BY_HANDLE_CLASS>(18);
/// For `SetFileInformationByHandle` with a DWORD of the flags below.
constexpr auto kFileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
/// For `SetFileInformationByHandle` with `RenameInformation`.
constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);

/// For `CreateSymbolicLinkW`: no privilege is needed in developer mode.
constexpr DWORD kUnprivilegedLink = 0x2;

constexpr DWORD kDispositionDelete = 0x1;
constexpr DWORD kDispositionPosix = 0x2;
constexpr DWORD kRenameReplace = 0x1;  ///< Also what `FileRenameInfo` takes for TRUE.
constexpr DWORD kRenamePosix = 0x2;

/// `FILE_ID_INFO`.
struct FileId128 {
    ULONGLONG volume;
    ULONGLONG id[2];
};

/// The head of `FILE_RENAME_INFO`; the name follows `length` at once.
struct RenameInformation {
    DWORD flags;
    HANDLE root;
    DWORD length;  ///< Of the name, in bytes.
    wchar_t name[1];
};

/// Whether the system or the file system does not know the request.
inline bool IsUnsupported(DWORD error) noexcept {
    return error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED ||
           error == ERROR_INVALID_FUNCTION || error == ERROR_INVALID_LEVEL;
}

}  // namespace zukel::platform
