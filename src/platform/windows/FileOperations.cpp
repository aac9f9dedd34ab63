#include "platform/FileOperations.h"

#include <apr_errno.h>
#include <io.h>

#include <cwchar>

#include "platform/windows/OpenFile.h"

namespace zukel::platform {

namespace {

/// 0, or why the first of the refused names was refused.
apr_status_t StatusOfNames(const WideName& first, const WideName& second) noexcept {
    return first ? second.Status() : first.Status();
}

bool DifferInCaseAlone(const wchar_t* first, const wchar_t* second) noexcept {
    return CompareStringOrdinal(first, -1, second, -1, TRUE) == CSTR_EQUAL &&
           std::wcscmp(first, second) != 0;
}

bool IsFile(const FileId& file) noexcept {
    return file.known && (file.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

apr_status_t RenameFile(const char* from, const char* to) noexcept {
    const WideName source(from);
    WideName target(to);
    // FileRenameInfo resolves a relative name against the directory of the file.
    if (!source || !target || !target.MakeExtended()) {
        return StatusOfNames(source, target);
    }
    const FileId present = Identify(target.Get(), Symlinks::NoFollow);
    Handle file;
    const DWORD opened = RepeatWhileShared([&] {
        file = OpenForFacts(source.Get(), DELETE | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                            Symlinks::NoFollow);
        return file ? ERROR_SUCCESS : GetLastError();
    });
    if (!file) {
        return SystemStatus(opened);
    }
    const FileId moved = Identify(file);
    // Two hard links of one file both stay. A change of case in the only name goes to the system.
    if (moved.links > 1 && moved == present) {
        return APR_SUCCESS;
    }
    if (!IsFile(moved) && IsFile(present)) {  // Wine 8 replaces the file by the directory
        return APR_ENOTDIR;
    }
    const DWORD error = RepeatWhileShared([&] { return RenameOpenFile(file, target.Get()); });
    return error == ERROR_SUCCESS ? APR_SUCCESS : SystemStatus(error);
}

apr_status_t RenameInPlace(const char* from, const char* to) noexcept {
    const WideName source(from);
    const WideName target(to);
    if (!source || !target) {
        return StatusOfNames(source, target);
    }
    return MoveFileExW(source.Get(), target.Get(), 0) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t RenameToNew(const char* from, const char* to) noexcept {
    WideName source(from);
    WideName target(to);
    if (!source || !target || !source.MakeExtended() || !target.MakeExtended()) {
        return StatusOfNames(source, target);
    }
    const FileId present = Identify(target.Get(), Symlinks::NoFollow);
    if (present.known && Identify(source.Get(), Symlinks::NoFollow) == present &&
        !DifferInCaseAlone(source.Get(), target.Get())) {
        // The same name, or another one of the file. For the system that is a success.
        return SystemStatus(ERROR_ALREADY_EXISTS);
    }
    return MoveFileExW(source.Get(), target.Get(), 0) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t RemoveFile(const char* name) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    Handle file;
    DWORD error = RepeatWhileShared([&] {
        // The link itself, also one to a directory.
        file = OpenForFacts(wide.Get(), DELETE | FILE_READ_ATTRIBUTES, Symlinks::NoFollow);
        return file ? ERROR_SUCCESS : GetLastError();
    });
    if (file) {
        constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;
        const FileId found = Identify(file);
        const DWORD kind = found.attributes & (FILE_ATTRIBUTE_DIRECTORY | kLink);
        // What cannot be identified may be a directory too.
        error = !found.known || kind == FILE_ATTRIBUTE_DIRECTORY ? ERROR_ACCESS_DENIED
                                                                 : RemoveOpenFile(file);
    }
    return error == ERROR_SUCCESS ? APR_SUCCESS : SystemStatus(error);
}

apr_status_t ChangeAccess(const char* name, int mode) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    return _wchmod(wide.Get(), mode) == 0 ? APR_SUCCESS : LastStatus();
}

bool IsAccessible(const wchar_t* name, int access) {
    const WideName wide(name);
    return wide && _waccess(wide.Get(), access) == 0;
}

}  // namespace zukel::platform
