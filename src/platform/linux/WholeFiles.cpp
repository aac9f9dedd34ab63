#include "platform/WholeFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <string>

#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/ExtendedAttributes.h"
#include "platform/linux/HeldSignals.h"
#include "platform/linux/SourcePermissions.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/TemporaryName.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// The last component of a name, and its directory.
struct Entry {
    Descriptor directory;  ///< Open for reading: it is synced through this descriptor.
    std::string name;
};

/// Opens the directory of `path`, relative to the directory `from`.
apr_status_t Open(int from, const std::string& path, Entry& entry) {
    const std::size_t slash = path.rfind('/');
    const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
    std::string name = path.substr(begin);
    const std::string folder = begin == 0 ? "." : path.substr(0, begin);
    if (name.empty() || name == "." || name == "..") {
        return EISDIR;
    }
    Descriptor directory(Uninterrupted(
        [&] { return openat(from, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!directory) {
        return errno;
    }
    entry.directory = std::move(directory);
    entry.name = std::move(name);
    return APR_SUCCESS;
}

/// Finds the entry that the name leads to through symbolic links.
///
/// @param facts of the file there; of no type when there is none.
apr_status_t Find(const char* name, Entry& entry, struct stat& facts) {
    constexpr int kMostLinks = 40;  // the system's own limit
    apr_status_t status = Open(AT_FDCWD, name, entry);
    for (int links = 0; status == APR_SUCCESS; ++links) {
        facts = {};
        const int directory = entry.directory.Get();
        if (fstatat(directory, entry.name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno == ENOENT ? APR_SUCCESS : errno;
        }
        if (!S_ISLNK(facts.st_mode)) {
            return S_ISREG(facts.st_mode) ? APR_SUCCESS : EINVAL;
        }
        std::string text(PATH_MAX, '\0');
        const ssize_t length = readlinkat(directory, entry.name.c_str(), text.data(), text.size());
        if (length < 0 || links == kMostLinks) {
            return length < 0 ? errno : ELOOP;
        }
        text.resize(static_cast<std::size_t>(length));
        status = Open(directory, text, entry);
    }
    return status;
}

/// Copies everything but the contents from the file that has the name. The owner comes first:
/// changing it clears permissions. Set-ID bits and capabilities do not survive a write either.
///
/// @returns `ESTALE` if somebody has removed the file meanwhile, or put something else in its place
/// that has to be looked at from the start.
apr_status_t CarryOver(const Entry& entry, int made) noexcept {
    const int directory = entry.directory.Get();
    const char* const name = entry.name.c_str();
    const auto reason = [] { return errno == ENOENT || errno == ELOOP ? ESTALE : errno; };
    // A caller who may not write the file must not replace it by way of its directory.
    if (faccessat(directory, name, W_OK, AT_EACCESS) != 0) {
        return reason();
    }
    const auto open = [&](int how) {
        constexpr int kPlain = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        return Descriptor(Uninterrupted([&] { return openat(directory, name, how | kPlain); }));
    };
    Descriptor from = open(O_RDONLY);
    if (!from && errno == EACCES) {
        from = open(O_WRONLY);
    }
    struct stat opened {};
    if (!from || fstat(from.Get(), &opened) != 0) {
        return reason();
    }
    if (!S_ISREG(opened.st_mode)) {
        return ESTALE;
    }
    SourcePermissions permissions(opened);
    const bool hasAttributes = HasExtendedAttributes(from.Get());
    const bool carried =
        (fchown(made, opened.st_uid, opened.st_gid) == 0 ||
         SucceededOrRefused(fchown(made, static_cast<uid_t>(-1), opened.st_gid))) &&
        (!hasAttributes || CopyExtendedAttributes(from.Get(), made)) &&
        permissions.Read(from.Get()) && permissions.GiveTo(made);
    if (!carried) {
        return errno;
    }
    if (hasAttributes) {
        fremovexattr(made, "security.capability");
    }
    return APR_SUCCESS;
}

/// Without this, SIGXFSZ (file size limit) would end the process.
apr_status_t WriteAll(const Descriptor& to, const char* contents, std::size_t size) noexcept {
    const HeldSignals held{SIGXFSZ};
    for (std::size_t done = 0; done < size;) {
        const ssize_t put =
            Uninterrupted([&] { return WriteDescriptor(to.Get(), contents + done, size - done); });
        if (put <= 0) {
            const int error = put < 0 ? errno : EIO;
            held.Discard();
            return error;
        }
        done += static_cast<std::size_t>(put);
    }
    return APR_SUCCESS;
}

apr_status_t Sync(const Descriptor& file) noexcept {
    return StatusOf(Uninterrupted([&] { return fsync(file.Get()); }));
}

/// @returns `ESTALE` if the file has changed so much meanwhile that it has to be tried again.
apr_status_t ReplaceOnce(const char* name, const char* contents, std::size_t size) {
    constexpr mode_t kNewFile = 0666;
    Entry entry;
    struct stat former {};
    apr_status_t status = Find(name, entry, former);
    if (status != APR_SUCCESS) {
        return status;
    }
    const bool exists = former.st_mode != 0;
    const int directory = entry.directory.Get();
    TemporaryName temporary(directory);
    Descriptor made = exists ? temporary.MakeFile() : temporary.MakeFile(kNewFile);
    if (!made) {
        return errno;
    }
    status = WriteAll(made, contents, size);
    if (status == APR_SUCCESS && exists) {
        status = CarryOver(entry, made.Get());
    }
    if (status == APR_SUCCESS) {
        status = Sync(made);
    }
    if (status != APR_SUCCESS) {
        return status;
    }
    if (!made.Close() || renameat(directory, temporary.Get(), directory, entry.name.c_str()) != 0) {
        return errno;
    }
    temporary.Release();
    return Sync(entry.directory);
}

}  // namespace

apr_status_t ReplaceContents(const char* name, const char* contents, std::size_t size) {
    constexpr int kMostTries = 10;
    const Uncancelled uncancelled;
    apr_status_t status = ESTALE;
    for (int tries = 0; tries < kMostTries && status == ESTALE; ++tries) {
        status = ReplaceOnce(name, contents, size);
    }
    return status;
}

}  // namespace zukel::platform
