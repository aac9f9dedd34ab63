#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "platform/FileOperations.h"
#include "platform/linux/CopyContents.h"
#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/ExtendedAttributes.h"
#include "platform/linux/TemporaryName.h"

namespace zukel::platform {

namespace {

/// Where the target goes: its directory, held open, and its name there.
struct Place {
    explicit Place(const char* path) {
        const char* const slash = std::strrchr(path, '/');
        name = slash == nullptr ? path : slash + 1;
        const std::string way(path, name);
        directory =
            Descriptor(open(way.empty() ? "." : way.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    explicit operator bool() const noexcept { return directory && *name != '\0'; }

    Descriptor directory;
    const char* name;
};

/// Waits until it is on the disk. File systems that know no such thing are content without.
bool Sync(const Descriptor& descriptor) noexcept {
    return fsync(descriptor.Get()) == 0 || errno == EINVAL || errno == EROFS;
}

bool SyncDirectory(const Place& place) noexcept {
    const Descriptor directory(
        openat(place.directory.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // One that may be written but not read cannot be waited for.
    return directory ? Sync(directory) : errno == EACCES;
}

/// Gives the copy what the source has beside its contents. The owner comes first: a change of the
/// owner takes set-ID bits away.
bool CarryOver(const struct stat& source, int from, int copy) noexcept {
    const timespec times[] = {source.st_atim, source.st_mtim};
    struct stat now {};
    return (fchown(copy, source.st_uid, source.st_gid) == 0 ||
            SucceededOrUnsupported(fchown(copy, static_cast<uid_t>(-1), source.st_gid))) &&
           CopyExtendedAttributes(from, copy) && fstat(copy, &now) == 0 &&
           SucceededOrUnsupported(fchmod(copy, ModeForCopy(source, now))) &&
           SucceededOrUnsupported(futimens(copy, times));
}

/// One move, from the copy beside the target to the removal of the source.
class Move {
public:
    Move(const char* from, const char* to) : from_(from), place_(to) {}

    bool Run() {
        return place_ && lstat(from_, &source_) == 0 && MakeCopy() && IsSourceUnchanged() &&
               PutInPlace() && (RemoveSource() || PutBack());
    }

private:
    int Directory() const noexcept { return place_.directory.Get(); }

    bool MakeCopy() noexcept {
        const bool made = S_ISREG(source_.st_mode)   ? CopyRegular()
                          : S_ISLNK(source_.st_mode) ? CopyLink()
                                                     : false;
        return made && fstatat(Directory(), copy_.Get(), &moved_, AT_SYMLINK_NOFOLLOW) == 0;
    }

    bool CopyRegular() noexcept {
        const Descriptor in(open(from_, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat opened {};
        if (!in || fstat(in.Get(), &opened) != 0 || !IsSameFile(opened, source_)) {
            return false;
        }
        Descriptor out = copy_.MakeFile();
        return out && CopyContents(in, out.Get(), source_) &&
               CarryOver(source_, in.Get(), out.Get()) && Sync(out) && out.Close();
    }

    bool CopyLink() noexcept {
        char text[PATH_MAX];
        const ssize_t length = readlink(from_, text, sizeof text - 1);
        if (length < 0) {
            return false;
        }
        text[length] = '\0';
        const timespec times[] = {source_.st_atim, source_.st_mtim};
        return copy_.MakeLink(text) &&
               SucceededOrUnsupported(fchownat(Directory(), copy_.Get(), source_.st_uid,
                                               source_.st_gid, AT_SYMLINK_NOFOLLOW)) &&
               SucceededOrUnsupported(
                   utimensat(Directory(), copy_.Get(), times, AT_SYMLINK_NOFOLLOW));
    }

    /// Whether the copy is still all there is: somebody may write to the source while it is read.
    bool IsSourceUnchanged() const noexcept {
        struct stat now {};
        return lstat(from_, &now) == 0 && IsSameFile(now, source_) &&
               now.st_size == source_.st_size && now.st_mtim.tv_sec == source_.st_mtim.tv_sec &&
               now.st_mtim.tv_nsec == source_.st_mtim.tv_nsec;
    }

    /// Gives the copy the target's name. A file that had it goes to a temporary name, from where it
    /// can come back.
    bool PutInPlace() noexcept {
        const int directory = Directory();
        if (renameat2(directory, copy_.Get(), directory, place_.name, RENAME_EXCHANGE) == 0) {
            former_ = &copy_;
            return true;
        }
        // Not every file system can exchange two names.
        if (errno == EINVAL || errno == ENOSYS) {
            if (aside_.TakeOver(place_.name)) {
                former_ = &aside_;
            } else if (errno != ENOENT) {
                return false;
            }
        } else if (errno != ENOENT) {
            return false;
        }
        if (renameat(directory, copy_.Get(), directory, place_.name) != 0) {
            return former_ != nullptr && PutBack();
        }
        copy_.Release();
        return true;
    }

    /// The new file is on the disk, and so must its name be before the source goes.
    bool RemoveSource() const noexcept {
        struct stat now {};
        return SyncDirectory(place_) &&
               (unlink(from_) == 0 || (lstat(from_, &now) != 0 && errno == ENOENT));
    }

    /// Makes the target what it was. @returns false, as the move does then.
    bool PutBack() noexcept {
        const int directory = Directory();
        struct stat now {};
        if (former_ != nullptr) {
            // To a second name of the same file this does nothing; the temporary one then goes at
            // the end. Where there is no way back the former file stays under it.
            if (renameat(directory, former_->Get(), directory, place_.name) != 0) {
                former_->Release();
            }
        } else if (fstatat(directory, place_.name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
                   IsSameFile(now, moved_)) {
            unlinkat(directory, place_.name, 0);
        }
        return false;
    }

    const char* from_;
    Place place_;
    TemporaryName copy_{Directory()};
    TemporaryName aside_{Directory()};
    TemporaryName* former_ = nullptr;  ///< Where the file that had the target's name is now.
    struct stat source_ {};
    struct stat moved_ {};
};

}  // namespace

bool MoveAcrossVolumes(const char* from, const char* to) {
    struct stat source {};
    struct stat target {};
    if (lstat(to, &target) == 0) {
        // The rules of a rename on one volume. One volume may be mounted at two places.
        if (lstat(from, &source) == 0 && IsSameFile(source, target)) {
            return true;
        }
        if (S_ISDIR(target.st_mode)) {
            return false;
        }
    }
    return Move(from, to).Run();
}

}  // namespace zukel::platform
