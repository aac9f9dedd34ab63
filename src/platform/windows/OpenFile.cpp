#include "platform/windows/OpenFile.h"

#include <memory>
#include <new>

namespace zukel::platform {

FileId Identify(const Handle& file) noexcept {
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!file || GetFileInformationByHandle(file.Get(), &facts) == 0) {
        return {};
    }
    const std::uint64_t index =
        static_cast<std::uint64_t>(facts.nFileIndexHigh) << 32U | facts.nFileIndexLow;
    return {true, static_cast<std::uint32_t>(facts.dwVolumeSerialNumber), index,
            static_cast<std::uint32_t>(facts.nNumberOfLinks),
            static_cast<std::uint32_t>(facts.dwFileAttributes)};
}

FileId Identify(const wchar_t* name, Links links) noexcept {
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    constexpr DWORD kDirectoriesToo = FILE_FLAG_BACKUP_SEMANTICS;
    const DWORD flags =
        kDirectoriesToo | (links == Links::Themselves ? FILE_FLAG_OPEN_REPARSE_POINT : 0);
    return Identify(Handle(
        CreateFileW(name, FILE_READ_ATTRIBUTES, kShared, nullptr, OPEN_EXISTING, flags, nullptr)));
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

void RemoveOpenFile(Handle file) noexcept {
    if (GetFileType(file.Get()) != FILE_TYPE_DISK) {
        return;
    }
    wchar_t path[1024];
    constexpr DWORD kSize = sizeof path / sizeof *path;
    const DWORD length = GetFinalPathNameByHandleW(file.Get(), path, kSize, 0);
    // Cut first, so that other names of the file show no part either.
    SetFilePointerEx(file.Get(), {}, nullptr, FILE_BEGIN);
    SetEndOfFile(file.Get());
    file.Close();
    if (length != 0 && length < kSize) {
        DeleteFileW(path);
    }
}

}  // namespace zukel::platform
