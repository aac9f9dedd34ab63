#include "platform/WholeFiles.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/windows/OpenFile.h"
#include "platform/windows/TemporaryFile.h"

namespace zukel::platform {

namespace {

/// The file that will be replaced.
struct Former {
    Handle file;
    std::unique_ptr<wchar_t[]> name;  ///< With all links resolved.
    DWORD attributes = 0;
};

/// @returns 0, also if there is none, or the system's error.
DWORD Find(const wchar_t* name, Former& former) noexcept {
    Handle file = OpenForFacts(name, FILE_READ_ATTRIBUTES | READ_CONTROL, Symlinks::Follow);
    if (!file) {
        const DWORD error = GetLastError();
        const Handle link = OpenForFacts(name, FILE_READ_ATTRIBUTES, Symlinks::NoFollow);
        return error == ERROR_FILE_NOT_FOUND && !link ? ERROR_SUCCESS : error;
    }
    FILE_BASIC_INFO facts{};
    if (GetFileType(file.Get()) != FILE_TYPE_DISK ||
        GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &facts, sizeof facts) == 0 ||
        (facts.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    // A caller who may not write the file must not replace it either.
    if ((facts.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    if (!OpenForFacts(name, FILE_WRITE_DATA, Symlinks::Follow)) {
        return GetLastError();
    }
    former.name = FinalName(file);
    const DWORD error = GetLastError();
    former.attributes = facts.FileAttributes;
    former.file = std::move(file);
    return former.name ? ERROR_SUCCESS : error;
}

/// Gives the new file the access list and the attributes of the former one.
DWORD CarryOver(const Former& former, const TemporaryFile& made) noexcept {
    constexpr SECURITY_INFORMATION kList = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    GetKernelObjectSecurity(former.file.Get(), kList, nullptr, 0, &size);
    const std::unique_ptr<char[]> list(new (std::nothrow) char[size]);
    const Handle changing = OpenForFacts(made.Name(), WRITE_DAC, Symlinks::NoFollow);
    if (!list || !changing ||
        GetKernelObjectSecurity(former.file.Get(), kList, list.get(), size, &size) == 0 ||
        SetKernelObjectSecurity(changing.Get(), kList, list.get()) == 0) {
        return list ? GetLastError() : ERROR_NOT_ENOUGH_MEMORY;
    }
    FILE_BASIC_INFO facts{};  // zeros leave the times
    facts.FileAttributes = former.attributes;
    return SetFileInformationByHandle(made.File().Get(), FileBasicInfo, &facts, sizeof facts) != 0
               ? ERROR_SUCCESS
               : GetLastError();
}

DWORD WriteAll(const Handle& to, const char* contents, std::size_t size) noexcept {
    constexpr std::size_t kBlock = std::size_t{32} << 20U;
    for (std::size_t done = 0; done < size;) {
        DWORD put = 0;
        const auto piece = static_cast<DWORD>(std::min(size - done, kBlock));
        if (WriteFile(to.Get(), contents + done, piece, &put, nullptr) == 0) {
            return GetLastError();
        }
        if (put == 0) {
            return ERROR_DISK_FULL;
        }
        done += put;
    }
    return FlushFileBuffers(to.Get()) != 0 ? ERROR_SUCCESS : GetLastError();
}

DWORD Replace(const wchar_t* name, const char* contents, std::size_t size) {
    Former former;
    DWORD error = Find(name, former);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    TemporaryFile made(former.name ? former.name.get() : name);
    if (!made) {
        return GetLastError();
    }
    error = WriteAll(made.File(), contents, size);
    if (error == ERROR_SUCCESS && former.file) {
        error = CarryOver(former, made);
        former.file.Close();
    }
    if (error == ERROR_SUCCESS) {
        error = made.TakeTargetsNameOpen();
    }
    if (error == ERROR_SUCCESS && FlushFileBuffers(made.File().Get()) == 0) {
        error = GetLastError();
    }
    return error;
}

}  // namespace

apr_status_t ReplaceContents(const char* name, const char* contents, std::size_t size) {
    WideName wide(name);
    if (!wide || !wide.MakeExtended()) {
        return wide.Status();
    }
    const DWORD error = Replace(wide.Get(), contents, size);
    return SystemStatus(error);
}

}  // namespace zukel::platform
