#include "platform/windows/ProgramSearch.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

constexpr const wchar_t* kExtensions[] = {L".com", L".exe", L".bat", L".cmd"};

/// The text of a call of the system that returns its length, or the size that it needs.
template <typename Call>
std::wstring TextOf(Call call) {
    std::wstring text;
    for (;;) {
        const auto size = static_cast<DWORD>(text.size()) + 1;
        const DWORD length = call(text.data(), size);
        text.resize(length);
        if (length < size) {
            return text;
        }
    }
}

bool IsAbsolute(const std::wstring& name) noexcept {
    const auto separates = [&](std::size_t at) {
        return name.size() > at && (name[at] == L'/' || name[at] == L'\\');
    };
    return (separates(0) && separates(1)) || (name.size() > 1 && name[1] == L':' && separates(2));
}

/// The extension in small letters, without the dots and spaces at the end of the name, which the
/// system removes.
std::wstring ExtensionOf(const std::wstring& name) {
    const std::size_t last = name.find_last_not_of(L". ");
    const std::wstring kept = name.substr(0, last == std::wstring::npos ? 0 : last + 1);
    const std::size_t dot = kept.find_last_of(L"./\\:");
    std::wstring extension =
        dot == std::wstring::npos || kept[dot] != L'.' ? std::wstring() : kept.substr(dot);
    for (wchar_t& unit : extension) {
        unit = unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
    }
    return extension;
}

bool IsFile(const std::wstring& name) noexcept {
    const WideName wide(name.c_str());
    const DWORD attributes = wide ? GetFileAttributesW(wide.Get()) : INVALID_FILE_ATTRIBUTES;
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// Sets `program` if the file exists, with one of the extensions if the name has none.
bool Take(const std::wstring& name, FoundProgram& program) {
    const auto take = [&program](const std::wstring& path) {
        if (!IsFile(path)) {
            return false;
        }
        const std::wstring extension = ExtensionOf(path);
        program.path = path;
        program.batch = extension == L".bat" || extension == L".cmd";
        return true;
    };
    const std::wstring given = ExtensionOf(name);
    const bool complete =
        std::find(std::begin(kExtensions), std::end(kExtensions), given) != std::end(kExtensions);
    return (!complete && std::any_of(std::begin(kExtensions), std::end(kExtensions),
                                     [&](const wchar_t* each) { return take(name + each); })) ||
           take(name);
}

/// The directories to search, in order.
std::vector<std::wstring> FoldersOfPrograms() {
    std::vector<std::wstring> folders = {TextOf(GetSystemDirectoryW), TextOf(GetWindowsDirectoryW)};
    const std::wstring path = TextOf(
        [](wchar_t* text, DWORD size) { return GetEnvironmentVariableW(L"PATH", text, size); });
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t stop = std::min(path.find(L';', start), path.size());
        std::wstring folder = path.substr(start, stop - start);
        folder.erase(std::remove(folder.begin(), folder.end(), L'"'), folder.end());
        folders.push_back(std::move(folder));
        start = stop + 1;
    }
    return folders;
}

}  // namespace

std::wstring AbsoluteName(const std::wstring& name) {
    return TextOf([&name](wchar_t* text, DWORD size) {
        return GetFullPathNameW(name.c_str(), size, text, nullptr);
    });
}

std::wstring CommandInterpreter() {
    return TextOf(GetSystemDirectoryW) + L"\\cmd.exe";
}

apr_status_t FindProgram(const std::wstring& name, const std::wstring& directory,
                         FoundProgram& program) {
    const apr_status_t missing = SystemStatus(ERROR_FILE_NOT_FOUND);
    // No file has such a name; a colon behind that of the drive separates a stream.
    if (name.empty() || name.find_first_of(L"\"<>|*") != std::wstring::npos ||
        (name.find(L':', 2) != std::wstring::npos && !IsAbsolute(name.substr(4)))) {
        return missing;
    }
    if (name.find_first_of(L"/\\:") == std::wstring::npos) {
        for (const std::wstring& folder : FoldersOfPrograms()) {
            if (IsAbsolute(folder) && Take(folder + L'\\' + name, program)) {
                return APR_SUCCESS;
            }
        }
        return missing;
    }
    const bool below = !directory.empty() && !IsAbsolute(name) && name[1] != L':';
    return Take(AbsoluteName(below ? directory + L'\\' + name : name), program) ? APR_SUCCESS
                                                                                : missing;
}

}  // namespace zukel::platform
