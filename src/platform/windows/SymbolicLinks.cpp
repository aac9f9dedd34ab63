#include "platform/SymbolicLinks.h"

#include <winioctl.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

#include "platform/windows/OpenFile.h"
#include "platform/windows/ReparsePoint.h"
#include "platform/windows/Windows10.h"

namespace zukel::platform {

namespace {

bool StartsWith(const std::wstring& text, const wchar_t* start) noexcept {
    return text.compare(0, std::wcslen(start), start) == 0;
}

/// The path of a link's target: relative to the directory of the link, unless it has a drive or
/// starts with a backslash.
std::wstring FromLink(const std::wstring& target, const std::wstring& name) {
    const bool own = target[0] == L'\\' || (target.size() > 1 && target[1] == L':');
    const std::size_t stop = name.find_last_of(L"/\\:");
    return own || stop == std::wstring::npos ? target : name.substr(0, stop + 1) + target;
}

bool LeadsToDirectory(const std::wstring& path) noexcept {
    const WideName name(path.c_str());
    return name &&
           (Identify(name.Get(), Symlinks::Follow).attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// The path without the prefix of the extended form, if the system then resolves it to the same
/// one.
std::wstring Plain(const wchar_t* extended) {
    std::wstring path(extended);
    if (StartsWith(path, LR"(\\?\UNC\)")) {
        path.replace(0, 8, LR"(\\)");
    } else if (StartsWith(path, LR"(\\?\)")) {
        path.erase(0, 4);
    }
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring read(size, L'\0');
    read.resize(GetFullPathNameW(path.c_str(), size, read.data(), nullptr));
    return read == path ? path : extended;
}

}  // namespace

apr_status_t MakeSymbolicLink(const char* target, const char* name) {
    const WideName link(name);
    std::wstring text;
    std::wstring place;  // without the extended form, in which `..` is not resolved
    if (!link || !ToWide(name, place) || !ToWide(target, text)) {
        return link ? SystemStatus(ERROR_FILE_NOT_FOUND) : link.Status();
    }
    std::replace(text.begin(), text.end(), L'/', L'\\');
    const DWORD kind = LeadsToDirectory(FromLink(text, place)) ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    const auto make = [&](DWORD flags) {
        return CreateSymbolicLinkW(link.Get(), text.c_str(), flags) != 0 ? ERROR_SUCCESS
                                                                         : GetLastError();
    };
    DWORD error = make(kind | kUnprivilegedLink);
    if (error == ERROR_INVALID_PARAMETER) {  // a system that does not know the flag
        error = make(kind);
    }
    // Wine 8 returns success and creates none.
    constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;
    if (error == ERROR_SUCCESS &&
        (Identify(link.Get(), Symlinks::NoFollow).attributes & kLink) == 0) {
        error = ERROR_NOT_SUPPORTED;
    }
    return error == ERROR_SUCCESS ? APR_SUCCESS : SystemStatus(error);
}

apr_status_t ReadSymbolicLink(const char* name, zuString& target) {
    constexpr DWORD kMost = 16 * 1024;  // MAXIMUM_REPARSE_DATA_BUFFER_SIZE
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    const Handle link = OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES, Symlinks::NoFollow);
    if (!link) {
        return LastStatus();
    }
    std::vector<char> data(kMost);
    DWORD size = 0;
    std::wstring text;
    if (DeviceIoControl(link.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, data.data(), kMost, &size,
                        nullptr) == 0) {
        const DWORD error = GetLastError();
        return error == ERROR_NOT_A_REPARSE_POINT ? APR_EINVAL : SystemStatus(error);
    }
    if (!LinkTarget(data.data(), size, text)) {
        return APR_EINVAL;
    }
    target = ToUtf8(text);
    return APR_SUCCESS;
}

apr_status_t QueryRealPath(const char* name, zuString& path) {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    const Handle file = OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES, Symlinks::Follow);
    if (!file) {
        return LastStatus();
    }
    const std::unique_ptr<wchar_t[]> found = FinalName(file);
    if (!found) {
        return LastStatus();
    }
    path = ToUtf8(Plain(found.get()));
    return APR_SUCCESS;
}

}  // namespace zukel::platform
