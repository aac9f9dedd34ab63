#include <utility>

#include "frame/OnName.h"
#include "frame/OpenStatus.h"
#include "kelDirectory.h"
#include "platform/Directories.h"
#include "platform/Trees.h"

namespace platform = zukel::platform;

// Macros of <windows.h>, which APR's headers may include.
#undef GetCurrentDirectory
#undef SetCurrentDirectory

namespace {

/// Creates one level of a path; an existing directory is a success.
apr_status_t MakeLevel(const char* path, int perms) noexcept {
    const apr_status_t status = platform::MakeDirectory(path, perms);
    return APR_STATUS_IS_EEXIST(status) && platform::IsDirectory(path) ? APR_SUCCESS : status;
}

/// The length of the part of a path that names its parent; 0 if there is none.
std::size_t ParentLength(const zuString& path, std::size_t length) noexcept {
    const auto skip = [&](bool separators) {
        while (length > 0 && platform::IsSeparator(path[length - 1]) == separators) {
            --length;
        }
    };
    skip(true);
    skip(false);
    skip(true);
    return length;
}

apr_status_t MakeWithParents(const zuString& path, int perms) {
    const auto make = [&](std::size_t length) {
        return MakeLevel(path.substr(0, length).c_str(), perms);
    };
    zuStlVector<std::size_t> missing;  // lengths of the paths that lacked a parent
    std::size_t length = path.size();
    apr_status_t status = make(length);
    while (APR_STATUS_IS_ENOENT(status)) {
        missing.push_back(length);
        length = ParentLength(path, length);
        if (length == 0) {
            return status;
        }
        status = make(length);
    }
    for (; status == APR_SUCCESS && !missing.empty(); missing.pop_back()) {
        status = make(missing.back());
    }
    return status;
}

}  // namespace

int kelDirectory::Create(const zuString& path, int perms, bool recursive) {
    return zukel::OnName(path, zukel::MapStatus, [&](const char* name) {
        return recursive ? MakeWithParents(name, perms) : platform::MakeDirectory(name, perms);
    });
}

int kelDirectory::Create(const kelLibrary*, const zuString& path, int perms, bool recursive) {
    return Create(path, perms, recursive);
}

int kelDirectory::CreateTemporary(const zuString& nameTemplate, zuString& path) {
    if (nameTemplate.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    zuString name(nameTemplate);
    if (!zukel::IsWhole(name)) {
        return zukel::Fail(APR_ENOENT, kelStatusNotFound);
    }
    const int status = zukel::MapOpenStatus(
        zukel::EndsInSixX(name) ? platform::MakeTemporaryDirectory(name.data()) : APR_EINVAL);
    if (status == kelStatusOk) {
        path = std::move(name);
    }
    return status;
}

int kelDirectory::Delete(const zuString& path) {
    return zukel::OnName(path, zukel::MapStatus, platform::RemoveEmptyDirectory);
}

int kelDirectory::Delete(const kelLibrary*, const zuString& path) {
    return Delete(path);
}

int kelDirectory::DeleteTree(const zuString& path) {
    bool entered = false;
    const int status = zukel::OnName(path, zukel::MapStatus, [&](const char* name) {
        return platform::RemoveTree(name, entered);
    });
    const bool missing =
        status == kelStatusFailed && !entered && APR_STATUS_IS_ENOENT(zukel::LastReason());
    return missing ? kelStatusNotFound : status;
}

int kelDirectory::Sync(const zuString& path) {
    return zukel::OnName(path, zukel::MapStatus, platform::SyncNames);
}

zuString kelDirectory::GetCurrentDirectory() {
    zuString path;
    zukel::MapStatus(platform::QueryCurrentDirectory(path));  // for its reason alone
    return path;
}

zuString kelDirectory::GetCurrentDirectory(const kelLibrary*) {
    return GetCurrentDirectory();
}

int kelDirectory::SetCurrentDirectory(const zuString& path) {
    return zukel::OnName(path, zukel::MapStatus, platform::ChangeCurrentDirectory);
}

int kelDirectory::SetCurrentDirectory(const kelLibrary*, const zuString& path) {
    return SetCurrentDirectory(path);
}
