#include "platform/FileFacts.h"

#include "platform/windows/OpenFile.h"
#include "platform/windows/Security.h"

namespace zukel::platform {

namespace {

/// Converts units of 100 ns since 1601 to microseconds since 1970.
long long MicroSeconds(const FILETIME& time) noexcept {
    constexpr long long kBetween = 11644473600LL * 1000000;
    const auto high = static_cast<std::uint64_t>(time.dwHighDateTime) << 32U;
    return static_cast<long long>((high | time.dwLowDateTime) / 10) - kBetween;
}

/// True for links and mount points; other reparse points are properties of the file itself.
bool IsLink(const Handle& file, DWORD attributes) noexcept {
    FILE_ATTRIBUTE_TAG_INFO tag{};
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (GetFileInformationByHandleEx(file.Get(), FileAttributeTagInfo, &tag, sizeof tag) == 0 ||
            IsReparseTagNameSurrogate(tag.ReparseTag));
}

apr_filetype_e TypeOf(const Handle& file, DWORD attributes) noexcept {
    if (IsLink(file, attributes)) {
        return APR_LNK;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return APR_DIR;
    }
    switch (GetFileType(file.Get())) {
        case FILE_TYPE_DISK:
            return APR_REG;
        case FILE_TYPE_CHAR:
            return APR_CHR;
        case FILE_TYPE_PIPE:
            return APR_PIPE;
        default:
            return APR_NOFILE;
    }
}

}  // namespace

apr_status_t QueryFile(const char* name, LinkMode mode, FileFacts& facts) noexcept {
    const Symlinks symlinks = mode == LinkMode::Itself ? Symlinks::NoFollow : Symlinks::Follow;
    const WideName wide(name, Devices::Taken);
    if (!wide) {
        return wide.Status();
    }
    Handle file = OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES | READ_CONTROL, symlinks);
    if (!file && GetLastError() == ERROR_ACCESS_DENIED) {  // then without its owner
        file = OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES, symlinks);
    }
    if (!file) {
        return LastStatus();
    }
    FileFacts found;
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileInformationByHandle(file.Get(), &info) != 0) {
        found.type = TypeOf(file, info.dwFileAttributes);
        found.size = static_cast<long long>(static_cast<std::uint64_t>(info.nFileSizeHigh) << 32U |
                                            info.nFileSizeLow);
        found.links = info.nNumberOfLinks;
        found.created = MicroSeconds(info.ftCreationTime);
        found.accessed = MicroSeconds(info.ftLastAccessTime);
        found.modified = MicroSeconds(info.ftLastWriteTime);
    } else {
        found.type = TypeOf(file, 0);
        if (found.type != APR_CHR && found.type != APR_PIPE) {  // which have no metadata
            return LastStatus();
        }
    }
    const SecurityOfFile security(file);
    found.hasUser = security.Owner() != nullptr;
    found.hasGroup = security.Group() != nullptr;
    facts = found;
    return APR_SUCCESS;
}

apr_status_t QueryPermissions(const char* name, int& permissions) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    const Handle file =
        OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES | READ_CONTROL, Symlinks::Follow);
    if (!file) {
        return LastStatus();
    }
    const SecurityOfFile security(file);
    if (security.Owner() == nullptr) {
        return APR_INCOMPLETE;
    }
    int told = security.Permissions();
    if ((Identify(file).attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        told &= ~(APR_FPROT_UWRITE | APR_FPROT_GWRITE | APR_FPROT_WWRITE);
    }
    permissions = told;
    return APR_SUCCESS;
}

apr_status_t FindFile(const char* name) noexcept {
    const WideName wide(name, Devices::Taken);
    if (!wide || *wide.Get() == L'\0') {
        return wide ? APR_ENOENT : wide.Status();
    }
    const DWORD attributes = GetFileAttributesW(wide.Get());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        // The paging file, for example, exists and cannot be opened.
        return GetLastError() == ERROR_SHARING_VIOLATION ? APR_SUCCESS : LastStatus();
    }
    const bool found = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 ||
                       OpenForFacts(wide.Get(), FILE_READ_ATTRIBUTES, Symlinks::Follow);
    return found ? APR_SUCCESS : LastStatus();
}

}  // namespace zukel::platform
