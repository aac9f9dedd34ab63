#include "platform/Directories.h"

#include <new>

#include "platform/windows/OpenFile.h"
#include "platform/windows/Security.h"
#include "platform/windows/TemporaryTemplate.h"

namespace zukel::platform {

struct DirectoryStream {
    static constexpr std::size_t kRoom = 32 * 1024;
    /// A component has 255 units at most, of up to three bytes each.
    static constexpr int kNameRoom = 1024;

    Handle directory;
    bool rewound = true;
    const FILE_FULL_DIR_INFO* next = nullptr;  ///< In `entries`, or null.
    alignas(8) char entries[kRoom];
    char name[kNameRoom];
};

namespace {

bool Fill(DirectoryStream& stream) noexcept {
    constexpr auto kInfo = static_cast<FILE_INFO_BY_HANDLE_CLASS>(14);  // FileFullDirectoryInfo
    constexpr auto kRestart =
        static_cast<FILE_INFO_BY_HANDLE_CLASS>(15);  // the same, from the start
    if (GetFileInformationByHandleEx(stream.directory.Get(), stream.rewound ? kRestart : kInfo,
                                     stream.entries, DirectoryStream::kRoom) == 0) {
        return false;
    }
    stream.rewound = false;
    stream.next = reinterpret_cast<const FILE_FULL_DIR_INFO*>(stream.entries);
    return true;
}

}  // namespace

apr_status_t CloseDirectory(DirectoryStream* directory) noexcept {
    const bool closed = directory->directory.Close();
    const apr_status_t status = closed ? APR_SUCCESS : LastStatus();
    delete directory;
    return status;
}

apr_status_t OpenDirectory(const char* name, DirectoryHandle& directory) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    Handle opened = OpenForFacts(
        wide.Get(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | SYNCHRONIZE, Symlinks::Follow);
    FILE_BASIC_INFO facts{};
    if (!opened ||
        GetFileInformationByHandleEx(opened.Get(), FileBasicInfo, &facts, sizeof facts) == 0) {
        return LastStatus();
    }
    if ((facts.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return APR_ENOTDIR;
    }
    DirectoryHandle made(new (std::nothrow) DirectoryStream);
    if (!made) {
        return APR_ENOMEM;
    }
    made->directory = std::move(opened);
    directory = std::move(made);
    return APR_SUCCESS;
}

apr_status_t RewindDirectory(DirectoryStream& directory) noexcept {
    directory.rewound = true;  // the next `Fill` starts again
    directory.next = nullptr;
    return APR_SUCCESS;
}

const char* NextEntry(DirectoryStream& directory) noexcept {
    if (directory.next == nullptr && !Fill(directory)) {
        return nullptr;
    }
    const FILE_FULL_DIR_INFO& entry = *directory.next;
    const auto units = static_cast<int>(entry.FileNameLength / sizeof(wchar_t));
    const int length = WideCharToMultiByte(CP_UTF8, 0, entry.FileName, units, directory.name,
                                           DirectoryStream::kNameRoom - 1, nullptr, nullptr);
    directory.name[length] = '\0';
    directory.next = entry.NextEntryOffset == 0
                         ? nullptr
                         : reinterpret_cast<const FILE_FULL_DIR_INFO*>(
                               reinterpret_cast<const char*>(&entry) + entry.NextEntryOffset);
    return directory.name;
}

apr_status_t ReadEntry(DirectoryStream& directory, const char*& entry) noexcept {
    SetLastError(ERROR_SUCCESS);
    entry = NextEntry(directory);
    const DWORD error = entry != nullptr ? ERROR_SUCCESS : GetLastError();
    // Of the root of an empty volume, which has no "." and "..", the first call says
    // FILE_NOT_FOUND.
    const bool ended =
        error == ERROR_SUCCESS || error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND;
    return ended ? APR_SUCCESS : SystemStatus(error);
}

apr_status_t MakeDirectory(const char* path, apr_fileperms_t) noexcept {
    const WideName wide(path);
    if (!wide) {
        return wide.Status();
    }
    return CreateDirectoryW(wide.Get(), nullptr) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t MakeTemporaryDirectory(char* name) noexcept {
    OwnerAlone security(OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE);
    if (security.Get() == nullptr) {
        return LastStatus();
    }
    TemporaryTemplate temporary(name, 6);
    while (temporary.FillIn()) {
        const WideName wide(name);
        if (!wide) {
            return wide.Status();
        }
        if (CreateDirectoryW(wide.Get(), security.Get()) != 0) {
            return APR_SUCCESS;
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            return LastStatus();
        }
    }
    return APR_EEXIST;
}

bool IsDirectory(const char* path) noexcept {
    const WideName wide(path);
    if (!wide) {
        return false;
    }
    const DWORD attributes = GetFileAttributesW(wide.Get());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return attributes != INVALID_FILE_ATTRIBUTES &&
               (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    return (Identify(wide.Get(), Symlinks::Follow).attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

apr_status_t RemoveEmptyDirectory(const char* path) noexcept {
    const WideName wide(path);
    if (!wide) {
        return wide.Status();
    }
    return RemoveDirectoryW(wide.Get()) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t SyncNames(const char* path) noexcept {
    DirectoryHandle directory;
    return OpenDirectory(path, directory);  // for the reason if there is none
}

apr_status_t QueryCurrentDirectory(zuString& path) {
    std::wstring text;
    for (;;) {
        const DWORD size = static_cast<DWORD>(text.size()) + 1;
        const DWORD length = GetCurrentDirectoryW(size, text.data());
        if (length == 0) {
            return LastStatus();
        }
        if (length < size) {
            text.resize(length);
            path = ToUtf8(text);
            return APR_SUCCESS;
        }
        text.resize(length);
    }
}

apr_status_t ChangeCurrentDirectory(const char* path) noexcept {
    const WideName wide(path);
    if (!wide) {
        return wide.Status();
    }
    return SetCurrentDirectoryW(wide.Get()) != 0 ? APR_SUCCESS : LastStatus();
}

bool IsSeparator(char byte) noexcept {
    return byte == '/' || byte == '\\';
}

bool IsReadFromCurrentDirectory(const char* path) noexcept {
    if (path[0] == '\0') {
        return true;
    }
    const bool share = IsSeparator(path[0]) && IsSeparator(path[1]);
    const bool rooted = path[1] == ':' && IsSeparator(path[2]);
    return !share && !rooted;
}

}  // namespace zukel::platform
