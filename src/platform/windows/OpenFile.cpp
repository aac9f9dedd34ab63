#include "platform/windows/OpenFile.h"

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <new>

#include "platform/windows/Windows10.h"

namespace zukel::platform {

Handle OpenForFacts(const wchar_t* name, DWORD access, Symlinks symlinks) noexcept {
    constexpr DWORD kDirectoriesToo = FILE_FLAG_BACKUP_SEMANTICS;
    const DWORD link = symlinks == Symlinks::NoFollow ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
    return Handle(CreateFileW(name, access, kShareAll, nullptr, OPEN_EXISTING,
                              kDirectoriesToo | link, nullptr));
}

FileId Identify(const Handle& file) noexcept {
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!file || GetFileInformationByHandle(file.Get(), &facts) == 0) {
        return {};
    }
    FileId found;
    found.known = true;
    found.links = facts.nNumberOfLinks;
    found.attributes = facts.dwFileAttributes;
    FileId128 wide{};
    if (GetFileInformationByHandleEx(file.Get(), kFileIdInfo, &wide, sizeof wide) != 0) {
        found.volume = wide.volume;
        std::memcpy(found.id, wide.id, sizeof found.id);
    } else {
        found.volume = facts.dwVolumeSerialNumber;
        found.id[0] = static_cast<std::uint64_t>(facts.nFileIndexHigh) << 32U | facts.nFileIndexLow;
    }
    return found;
}

FileId Identify(const wchar_t* name, Symlinks symlinks) noexcept {
    return Identify(OpenForFacts(name, FILE_READ_ATTRIBUTES, symlinks));
}

std::unique_ptr<wchar_t[]> FinalName(const Handle& file, std::size_t extra) noexcept {
    const DWORD size = GetFinalPathNameByHandleW(file.Get(), nullptr, 0, 0);
    std::unique_ptr<wchar_t[]> name;
    if (size != 0) {
        name.reset(new (std::nothrow) wchar_t[size + extra + 1]);
    }
    if (name) {
        const DWORD length = GetFinalPathNameByHandleW(file.Get(), name.get(), size + 1, 0);
        if (length > size) {  // it was renamed in between
            SetLastError(ERROR_SHARING_VIOLATION);
        }
        if (length == 0 || length > size) {
            name.reset();
        }
    } else if (size != 0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return name;
}

DWORD RenameOpenFile(const Handle& file, const wchar_t* to) noexcept {
    const std::size_t length = std::wcslen(to);
    const std::size_t size = offsetof(RenameInformation, name) + (length + 1) * sizeof *to;
    alignas(RenameInformation) char inside[1024];  // removing a name must not fail for memory
    std::unique_ptr<char[]> longer;                // aligned for any type
    if (size > sizeof inside) {
        longer.reset(new (std::nothrow) char[size]);
        if (!longer) {
            return ERROR_NOT_ENOUGH_MEMORY;
        }
    }
    char* const room = longer ? longer.get() : inside;
    RenameInformation head{};
    head.flags = kRenameReplace | kRenamePosix;
    head.length = static_cast<DWORD>(length * sizeof *to);
    std::memcpy(room, &head, offsetof(RenameInformation, name));
    std::memcpy(room + offsetof(RenameInformation, name), to, (length + 1) * sizeof *to);
    const auto rename = [&](FILE_INFO_BY_HANDLE_CLASS how) {
        return SetFileInformationByHandle(file.Get(), how, room, static_cast<DWORD>(size)) != 0
                   ? ERROR_SUCCESS
                   : GetLastError();
    };
    const DWORD error = rename(kFileRenameInfoEx);
    if (!IsUnsupported(error)) {
        return error;
    }
    head.flags = kRenameReplace;
    std::memcpy(room, &head.flags, sizeof head.flags);
    return rename(FileRenameInfo);
}

DWORD RemoveOpenFile(const Handle& file) noexcept {
    DWORD flags = kDispositionDelete | kDispositionPosix;
    FILE_DISPOSITION_INFO older{};
    older.DeleteFile = TRUE;
    if (SetFileInformationByHandle(file.Get(), kFileDispositionInfoEx, &flags, sizeof flags) != 0) {
        return ERROR_SUCCESS;
    }
    if (!IsUnsupported(GetLastError())) {
        return GetLastError();
    }
    return SetFileInformationByHandle(file.Get(), FileDispositionInfo, &older, sizeof older) != 0
               ? ERROR_SUCCESS
               : GetLastError();
}

bool CopyContents(const Handle& from, const Handle& to) noexcept {
    constexpr DWORD kBlock = 256 * 1024;
    const std::unique_ptr<char[]> block(new (std::nothrow) char[kBlock]);
    if (!block) {
        return false;
    }
    for (;;) {
        DWORD got = 0;
        if (ReadFile(from.Get(), block.get(), kBlock, &got, nullptr) == 0) {
            return GetLastError() == ERROR_BROKEN_PIPE;  // the end of a pipe
        }
        if (got == 0) {
            return true;
        }
        for (DWORD done = 0, put = 0; done < got; done += put) {
            if (WriteFile(to.Get(), block.get() + done, got - done, &put, nullptr) == 0 ||
                put == 0) {
                return false;
            }
        }
    }
}

void DropOpenFile(Handle file) noexcept {
    if (GetFileType(file.Get()) != FILE_TYPE_DISK) {
        return;
    }
    const std::unique_ptr<wchar_t[]> name = FinalName(file);
    // Truncated first: its other hard links must not show a part either.
    SetFilePointerEx(file.Get(), {}, nullptr, FILE_BEGIN);
    SetEndOfFile(file.Get());
    file.Close();
    if (name) {
        DeleteFileW(name.get());
    }
}

}  // namespace zukel::platform
