#include "platform/Files.h"

#include <apr_file_io.h>
#include <mbctype.h>
#include <winioctl.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "platform/windows/HandleOf.h"
#include "platform/windows/OpenFile.h"
#include "platform/windows/Security.h"
#include "platform/windows/TemporaryTemplate.h"

namespace zukel::platform {

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

FileHandle Own(HANDLE file) noexcept {
    return FileHandle(reinterpret_cast<FileHandle::Native>(file));
}

DWORD Disposition(int mode) noexcept {
    const bool truncates = (mode & APR_FOPEN_TRUNCATE) != 0;
    if ((mode & APR_FOPEN_CREATE) == 0) {
        return truncates ? TRUNCATE_EXISTING : OPEN_EXISTING;
    }
    if ((mode & APR_FOPEN_EXCL) != 0) {
        return CREATE_NEW;
    }
    return truncates ? CREATE_ALWAYS : OPEN_ALWAYS;
}

/// Opens a file of that name as `mode` says.
///
/// @returns none, with the reason as the system's last error.
FileHandle OpenFor(const wchar_t* name, DWORD rights, int mode) noexcept {
    const DWORD deletes = (mode & APR_FOPEN_DELONCLOSE) != 0 ? FILE_FLAG_DELETE_ON_CLOSE : 0;
    const auto open = [&](DWORD disposition) {
        return Own(CreateFileW(name, rights, kShareAll, nullptr, disposition,
                               FILE_ATTRIBUTE_NORMAL | deletes, nullptr));
    };
    const DWORD disposition = Disposition(mode);
    FileHandle file = open(disposition);
    // CREATE_ALWAYS refuses a hidden file and one of the system. TRUNCATE_EXISTING does not.
    if (!file && disposition == CREATE_ALWAYS && GetLastError() == ERROR_ACCESS_DENIED) {
        file = open(TRUNCATE_EXISTING);
        if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) {
            SetLastError(ERROR_ACCESS_DENIED);
        }
    }
    return file;
}

/// Replaces a handle by one that may append, but not write elsewhere.
apr_status_t NarrowToAppending(FileHandle& file, DWORD rights) noexcept {
    HANDLE narrowed = nullptr;
    const HANDLE self = GetCurrentProcess();
    if (DuplicateHandle(self, HandleOf(file), self, &narrowed, rights, FALSE, 0) == 0) {
        return LastStatus();
    }
    file = Own(narrowed);
    return APR_SUCCESS;
}

/// Why a file could not be opened. For a name below a file the system returns the same error as for
/// one below a missing directory.
apr_status_t OpenStatus(const wchar_t* name) noexcept {
    const DWORD error = GetLastError();
    const std::size_t size = std::wcslen(name) + 1;
    const std::unique_ptr<wchar_t[]> parent(
        error == ERROR_PATH_NOT_FOUND ? new (std::nothrow) wchar_t[size] : nullptr);
    if (parent) {
        std::wmemcpy(parent.get(), name, size);
        for (std::size_t at = size - 1; at > 0; --at) {
            if (parent[at] != L'/' && parent[at] != L'\\') {
                continue;
            }
            parent[at] = L'\0';
            const DWORD attributes = GetFileAttributesW(parent.get());
            if (attributes != INVALID_FILE_ATTRIBUTES) {
                return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? APR_ENOTDIR
                                                                    : SystemStatus(error);
            }
        }
    }
    return SystemStatus(error);
}

}  // namespace

apr_status_t OpenFileByName(const char* name, int mode, FileHandle& file) noexcept {
    const bool reads = (mode & APR_FOPEN_READ) != 0;
    const bool writes = (mode & APR_FOPEN_WRITE) != 0;
    const bool appends = writes && (mode & APR_FOPEN_APPEND) != 0;
    const bool truncates = (mode & APR_FOPEN_TRUNCATE) != 0;
    if ((!reads && !writes) || (mode & (APR_FOPEN_EXCL | APR_FOPEN_CREATE)) == APR_FOPEN_EXCL) {
        return APR_EACCES;
    }
    const WideName wide(name, Devices::Taken);
    if (!wide) {
        return wide.Status();
    }
    // Truncation needs GENERIC_WRITE, which kAppendAlone is a part of.
    const DWORD writing = appends && !truncates ? kAppendAlone : GENERIC_WRITE;
    FileHandle opened =
        OpenFor(wide.Get(), (reads ? GENERIC_READ : 0) | (writes ? writing : 0), mode);
    if (!opened) {
        return OpenStatus(wide.Get());
    }
    if (appends && truncates) {
        const apr_status_t status =
            NarrowToAppending(opened, kAppendAlone | (reads ? FILE_GENERIC_READ : 0));
        if (status != APR_SUCCESS) {
            return status;
        }
    }
    if (writes && (mode & APR_FOPEN_SPARSE) != 0) {
        DWORD nothing = 0;  // a file system without sparse files refuses, and writes zeros
        DeviceIoControl(HandleOf(opened), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &nothing,
                        nullptr);
    }
    file = std::move(opened);
    return APR_SUCCESS;
}

apr_status_t MakeTemporaryFile(char* name, FileHandle& file) noexcept {
    OwnerAlone security;
    if (security.Get() == nullptr) {  // others could read a file with the access of its folder
        return LastStatus();
    }
    constexpr DWORD kDeletes = FILE_FLAG_DELETE_ON_CLOSE;
    TemporaryTemplate temporary(name, SIZE_MAX);  // all of them, as APR does
    while (temporary.FillIn()) {
        const WideName wide(name);
        if (!wide) {
            return wide.Status();
        }
        FileHandle made =
            Own(CreateFileW(wide.Get(), GENERIC_READ | GENERIC_WRITE, kShareAll, security.Get(),
                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL | kDeletes, nullptr));
        if (made) {
            file = std::move(made);
            return APR_SUCCESS;
        }
        if (GetLastError() != ERROR_FILE_EXISTS) {
            return LastStatus();
        }
    }
    return APR_EEXIST;
}

apr_status_t ReadBytes(const FileHandle& file, void* target, std::size_t& size) noexcept {
    DWORD got = 0;
    const BOOL read = ReadFile(HandleOf(file), target, AtOnce(size), &got, nullptr);
    const DWORD error = read != 0 ? ERROR_SUCCESS : GetLastError();
    size = read != 0 ? got : 0;
    // The writers of a pipe have closed it.
    const bool ended = error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF;
    return read != 0 || ended ? APR_SUCCESS : SystemStatus(error);
}

apr_status_t WriteBytes(const FileHandle& file, const void* source, std::size_t& size) noexcept {
    DWORD put = 0;
    const DWORD wanted = AtOnce(size);
    const BOOL written = WriteFile(HandleOf(file), source, wanted, &put, nullptr);
    const apr_status_t status = written != 0 ? APR_SUCCESS : LastStatus();
    size = written != 0 ? put : 0;
    return written != 0 && put == 0 && wanted != 0 ? SystemStatus(ERROR_DISK_FULL) : status;
}

apr_status_t MovePosition(const FileHandle& file, Origin from, long long offset,
                          long long& position) noexcept {
    if (GetFileType(HandleOf(file)) != FILE_TYPE_DISK) {
        return SystemStatus(ERROR_SEEK_ON_DEVICE);
    }
    const DWORD method = from == Origin::Start  ? FILE_BEGIN
                         : from == Origin::Here ? FILE_CURRENT
                                                : FILE_END;
    LARGE_INTEGER distance{};
    LARGE_INTEGER place{};
    distance.QuadPart = offset;
    if (SetFilePointerEx(HandleOf(file), distance, &place, method) == 0) {
        // APR_STATUS_IS_ESPIPE holds for ERROR_NEGATIVE_SEEK too.
        return GetLastError() == ERROR_NEGATIVE_SEEK ? APR_EINVAL : LastStatus();
    }
    position = place.QuadPart;
    return APR_SUCCESS;
}

bool MayReadAhead(const FileHandle& file) noexcept {
    return GetFileType(HandleOf(file)) == FILE_TYPE_DISK;
}

apr_status_t CloseFile(FileHandle& file) noexcept {
    return !file || CloseHandle(reinterpret_cast<HANDLE>(file.Release())) != 0 ? APR_SUCCESS
                                                                               : LastStatus();
}

void RemoveClosed(const char*) noexcept {}

int MultibyteCodePage() noexcept {
    return _getmbcp();
}

int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    return MultiByteToWideChar(CP_UTF8, 0, text, length, reinterpret_cast<wchar_t*>(buffer),
                               capacity);
}

unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned capacity) noexcept {
    return GetShortPathNameW(reinterpret_cast<const wchar_t*>(path),
                             reinterpret_cast<wchar_t*>(buffer), capacity);
}

}  // namespace zukel::platform
