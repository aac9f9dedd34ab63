#include "platform/Trees.h"

#include <cwchar>
#include <string>
#include <vector>

#include "platform/windows/OpenFile.h"

namespace zukel::platform {

namespace {

constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;
constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;

/// A directory between the root of the tree and the current one. While it is open without
/// FILE_SHARE_DELETE nobody can rename or remove it, so its path stays valid.
struct Level {
    Handle folder;
    std::size_t length;                 ///< Of its path.
    std::vector<std::wstring> folders;  ///< Still to be removed.
};

/// Opens an entry for its removal; of a link, the link itself.
///
/// @param listing FILE_LIST_DIRECTORY or 0. Of a file that is the right to read it, which its
/// removal does not need, and which may be denied, or not shared by a program that has it open.
DWORD Open(const std::wstring& path, DWORD listing, DWORD share, Handle& file) noexcept {
    const DWORD access =
        DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES | SYNCHRONIZE | listing;
    constexpr DWORD kItself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    return RepeatWhileShared([&] {
        file = Handle(
            CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, kItself, nullptr));
        return file ? ERROR_SUCCESS : GetLastError();
    });
}

DWORD AttributesOf(const Handle& file) noexcept {
    FILE_BASIC_INFO facts{};
    return GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &facts, sizeof facts) != 0
               ? facts.FileAttributes
               : 0;
}

/// Removes an open file or empty directory, also a read-only one.
DWORD Remove(const Handle& file) noexcept {
    const DWORD attributes = AttributesOf(file);
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        FILE_BASIC_INFO facts{};  // zeros leave the times
        facts.FileAttributes = FILE_ATTRIBUTE_NORMAL;
        SetFileInformationByHandle(file.Get(), FileBasicInfo, &facts, sizeof facts);
    }
    return RemoveOpenFile(file);
}

class TreeRemoval {
public:
    DWORD Run(const wchar_t* path, bool& entered) {
        path_ = path;
        const DWORD refused = Enter();
        if (refused != ERROR_SUCCESS) {
            return refused;
        }
        entered = true;
        while (!levels_.empty()) {
            Level& level = levels_.back();
            path_.resize(level.length);
            if (level.folders.empty()) {
                const DWORD error = Remove(level.folder);
                levels_.pop_back();
                Note(error);
                if (error == ERROR_SUCCESS && levels_.empty()) {
                    error_ = ERROR_SUCCESS;  // nothing is left
                }
                continue;
            }
            path_ += L'\\' + level.folders.back();
            level.folders.pop_back();
            const DWORD error = Enter();
            if (error == ERROR_DIRECTORY) {  // it has been replaced by a link or a file
                RemoveEntry();
            } else if (error != ERROR_FILE_NOT_FOUND) {
                Note(error);
            }
        }
        return error_;
    }

private:
    void Note(DWORD error) noexcept { error_ = error_ == ERROR_SUCCESS ? error : error_; }

    /// Makes the directory of the path the current one, and removes its entries except for
    /// directories.
    DWORD Enter() {
        Handle folder;
        const DWORD error =
            Open(path_, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, folder);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        if ((AttributesOf(folder) & (kFolder | kLink)) != kFolder) {
            return ERROR_DIRECTORY;
        }
        levels_.push_back({std::move(folder), path_.size(), {}});
        RemoveFiles(levels_.back());
        return ERROR_SUCCESS;
    }

    void RemoveFiles(Level& level) {
        constexpr auto kInfo = static_cast<FILE_INFO_BY_HANDLE_CLASS>(14);  // FileFullDirectoryInfo
        room_.resize(32 * 1024 / sizeof room_[0]);
        while (GetFileInformationByHandleEx(level.folder.Get(), kInfo, room_.data(), 32 * 1024) !=
               0) {
            const auto* at = reinterpret_cast<const char*>(room_.data());
            for (DWORD step = 1; step != 0; at += step) {
                const auto& entry = *reinterpret_cast<const FILE_FULL_DIR_INFO*>(at);
                step = entry.NextEntryOffset;
                const std::wstring name(entry.FileName, entry.FileNameLength / sizeof(wchar_t));
                if (name == L"." || name == L"..") {
                    continue;
                }
                if ((entry.FileAttributes & (kFolder | kLink)) == kFolder) {
                    level.folders.push_back(name);
                } else {
                    path_ += L'\\' + name;
                    RemoveEntry();
                    path_.resize(level.length);
                }
            }
        }
        const DWORD error = GetLastError();
        Note(error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error);
    }

    void RemoveEntry() noexcept {
        Handle file;
        DWORD error = Open(path_, 0, kShareAll, file);
        error = error == ERROR_SUCCESS ? Remove(file) : error;
        Note(error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error);
    }

    std::wstring path_;
    std::vector<Level> levels_;
    std::vector<long long> room_;  ///< For entries, aligned as they are.
    DWORD error_ = ERROR_SUCCESS;
};

/// Whether the path ends in a component that can be removed.
bool NamesAnEntry(const wchar_t* path) noexcept {
    const wchar_t* const slash = std::wcsrchr(path, L'\\');
    const wchar_t* const name = slash == nullptr ? path : slash + 1;
    return *name != L'\0' && std::wcschr(name, L':') == nullptr;
}

bool EndsInDots(const char* path, std::size_t length) noexcept {
    const auto separates = [](char byte) { return byte == '/' || byte == '\\' || byte == ':'; };
    std::size_t dots = 0;
    while (dots < length && path[length - dots - 1] == '.') {
        ++dots;
    }
    return dots > 0 && (dots == length || separates(path[length - dots - 1]));
}

}  // namespace

apr_status_t RemoveTree(const char* path, bool& entered) {
    entered = false;
    std::string text(path);
    while (text.size() > 1 && (text.back() == '/' || text.back() == '\\')) {
        text.pop_back();
    }
    WideName name(text.c_str());
    if (!name || EndsInDots(text.data(), text.size()) || !name.MakeExtended() ||
        !NamesAnEntry(name.Get())) {
        return name ? APR_EINVAL : name.Status();
    }
    const DWORD error = TreeRemoval().Run(name.Get(), entered);
    return error == ERROR_SUCCESS     ? APR_SUCCESS
           : error == ERROR_DIRECTORY ? APR_ENOTDIR
                                      : SystemStatus(error);
}

}  // namespace zukel::platform
