#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <string>

#include "platform/FileOperations.h"
#include "platform/linux/CopyContents.h"
#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/ExtendedAttributes.h"
#include "platform/linux/HeldSignals.h"
#include "platform/linux/ReadLease.h"
#include "platform/linux/SourcePermissions.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/TemporaryName.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// A name in its directory, which is held open.
struct Place {
    explicit Place(const char* path) {
        const char* const slash = std::strrchr(path, '/');
        name = slash == nullptr ? path : slash + 1;
        if (*name == '\0') {
            errno = EINVAL;
            return;
        }
        const std::string folder(path, name);
        directory = Descriptor(Uninterrupted([&] {
            return open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        }));
    }
    explicit operator bool() const noexcept { return static_cast<bool>(directory); }
    bool LookAt(const char* entry, struct stat& status) const noexcept {
        return fstatat(directory.Get(), entry, &status, AT_SYMLINK_NOFOLLOW) == 0;
    }

    Descriptor directory;
    const char* name;
};

/// Waits until it is on disk. A file system that does not support this counts as success.
bool Sync(const Descriptor& descriptor) noexcept {
    return Uninterrupted([&] { return fsync(descriptor.Get()); }) == 0 || errno == EINVAL ||
           errno == ENOSYS || errno == ENOTSUP || errno == EROFS;
}

bool SyncDirectory(const Place& place) noexcept {
    const Descriptor directory(Uninterrupted(
        [&] { return openat(place.directory.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    // A directory that is writable but not readable cannot be synced.
    return directory ? Sync(directory) : errno == EACCES;
}

bool IsSameTime(const timespec& one, const timespec& other) noexcept {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// One move, from the copy beside the target to the removal of the source.
class Move {
public:
    Move(const char* from, const char* to) : origin_(from), place_(to) {}

    apr_status_t Run() noexcept {
        if (!origin_ || !place_) {
            return LastStatus();
        }
        if (!MakeCopy() || !IsSourceUnchanged(origin_.name) || !ReplaceTarget()) {
            return reason_ != APR_SUCCESS ? reason_ : LastStatus();
        }
        if (!RemoveSource()) {
            reason_ = LastStatus();
            RollBack();
        }
        return reason_;
    }

private:
    int Directory() const noexcept { return place_.directory.Get(); }

    bool MakeCopy() noexcept {
        if (!origin_.LookAt(origin_.name, source_)) {
            return false;
        }
        if (!S_ISREG(source_.st_mode) && !S_ISLNK(source_.st_mode)) {
            errno = EINVAL;
            return false;
        }
        const bool made = S_ISREG(source_.st_mode) ? CopyRegular() : CopyLink();
        return made && place_.LookAt(copy_.Get(), moved_);
    }

    bool CopyRegular() noexcept {
        in_ = Descriptor(Uninterrupted([this] {
            return openat(origin_.directory.Get(), origin_.name,
                          O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        }));
        if (!in_) {
            return false;
        }
        lease_.Take(in_.Get());
        struct stat opened {};
        if (fstat(in_.Get(), &opened) != 0) {
            return false;
        }
        if (!IsSameFile(opened, source_) || !S_ISREG(opened.st_mode)) {
            errno = EBUSY;
            return false;
        }
        source_ = opened;
        Descriptor out = copy_.MakeFile();
        return out && CopyWithoutSignals(out) && CarryOver(out) && Sync(out) && out.Close();
    }

    /// Without this, SIGXFSZ (file size limit) would end the process.
    bool CopyWithoutSignals(const Descriptor& out) noexcept {
        const HeldSignals held{SIGXFSZ};
        const bool copied = CopyContents(in_, out.Get(), source_);
        if (!copied) {
            held.Discard();
        }
        return copied;
    }

    /// Copies everything but the contents. The owner comes first: changing it clears set-ID bits.
    bool CarryOver(const Descriptor& out) noexcept {
        const int copy = out.Get();
        const timespec times[] = {source_.st_atim, source_.st_mtim};
        SourcePermissions permissions(source_);
        return (fchown(copy, source_.st_uid, source_.st_gid) == 0 ||
                SucceededOrRefused(fchown(copy, static_cast<uid_t>(-1), source_.st_gid))) &&
               (!HasExtendedAttributes(in_.Get()) || CopyExtendedAttributes(in_.Get(), copy)) &&
               permissions.Read(in_.Get()) && permissions.GiveTo(copy) &&
               permissions.GiveSpecialBitsTo(copy) && SucceededOrRefused(futimens(copy, times));
    }

    bool CopyLink() noexcept {
        const std::unique_ptr<char[]> text(new (std::nothrow) char[PATH_MAX]);
        const ssize_t length =
            text ? readlinkat(origin_.directory.Get(), origin_.name, text.get(), PATH_MAX - 1) : -1;
        if (length < 0) {
            return false;
        }
        text[static_cast<std::size_t>(length)] = '\0';
        const timespec times[] = {source_.st_atim, source_.st_mtim};
        return copy_.MakeLink(text.get()) &&
               SucceededOrRefused(fchownat(Directory(), copy_.Get(), source_.st_uid, source_.st_gid,
                                           AT_SYMLINK_NOFOLLOW)) &&
               SucceededOrRefused(utimensat(Directory(), copy_.Get(), times, AT_SYMLINK_NOFOLLOW));
    }

    /// Whether the copy is still up to date: somebody may write to the source, or replace it, while
    /// it is copied. If not, `errno` says so.
    bool IsSourceUnchanged(const char* name) const noexcept {
        struct stat now {};
        if (!origin_.LookAt(name, now)) {
            return false;
        }
        errno = EBUSY;
        return IsSameFile(now, source_) && now.st_size == source_.st_size &&
               now.st_mode == source_.st_mode && IsSameTime(now.st_mtim, source_.st_mtim) &&
               lease_.IsUnbroken();
    }

    bool ExchangeWithTarget() const noexcept {
        const int directory = Directory();
        return renameat2(directory, copy_.Get(), directory, place_.name, RENAME_EXCHANGE) == 0;
    }

    /// Whether it was a directory that had the target's name, made there meanwhile.
    bool WasDirectory(const TemporaryName& former) noexcept {
        struct stat facts {};
        const bool was = place_.LookAt(former.Get(), facts) && S_ISDIR(facts.st_mode);
        reason_ = was ? EISDIR : reason_;
        return was;
    }

    /// Renames the copy to the target's name. A file that had it gets a temporary name, from which
    /// it can be restored. A directory is not replaced.
    bool ReplaceTarget() noexcept {
        const int directory = Directory();
        if (ExchangeWithTarget()) {
            if (WasDirectory(copy_)) {
                if (!ExchangeWithTarget()) {
                    copy_.Release();  // it stays under the temporary name
                }
                return false;
            }
            former_ = &copy_;
            return true;
        }
        // Not every system and file system can exchange two names.
        if (IsRefusal(errno)) {
            if (aside_.TakeOver(place_.name)) {
                former_ = &aside_;
                if (WasDirectory(aside_)) {
                    RollBack();
                    return false;
                }
            } else if (errno != ENOENT) {
                return false;
            }
        } else if (errno != ENOENT) {
            return false;
        }
        if (renameat(directory, copy_.Get(), directory, place_.name) != 0) {
            reason_ = LastStatus();
            if (former_ != nullptr) {
                RollBack();
            }
            return false;
        }
        copy_.Release();
        return true;
    }

    /// The new file is on disk; its name must be too before the source is removed.
    ///
    /// The source first gets a temporary name, and only then the last check: under its former name
    /// somebody could open or replace it between the check and the removal.
    bool RemoveSource() noexcept {
        if (!SyncDirectory(place_)) {
            return false;
        }
        if (!leaving_.MoveAside(origin_.name)) {
            return errno == ENOENT;  // somebody else has removed it
        }
        AwaitWriters();
        if (IsSourceUnchanged(leaving_.Get()) &&
            unlinkat(origin_.directory.Get(), leaving_.Get(), 0) == 0) {
            return true;
        }
        const int error = errno;
        leaving_.MoveBack(origin_.name);
        errno = error;
        return false;
    }

    /// Waits for programs that opened the source by its former name and are about to write: one
    /// that is just opening it breaks the lease, and one that has it open for writing usually
    /// closes it soon. If it does not, only the last check can detect a change.
    void AwaitWriters() noexcept {
        constexpr timespec kOneMillisecond{0, 1000000};
        constexpr int kAttempts = 50;
        for (int attempt = 0; in_ && attempt < kAttempts; ++attempt) {
            nanosleep(&kOneMillisecond, nullptr);
            if (lease_.IsTaken() || lease_.Take(in_.Get()) || errno != EAGAIN) {
                return;
            }
        }
    }

    /// Makes the target what it was.
    void RollBack() noexcept {
        const int directory = Directory();
        struct stat now {};
        if (former_ != nullptr) {
            // Between two hard links of one file this does nothing; the destructor then removes the
            // temporary name. If the rename fails, keep the former file under its temporary name.
            if (renameat(directory, former_->Get(), directory, place_.name) != 0) {
                former_->Release();
            }
        } else if (place_.LookAt(place_.name, now) && IsSameFile(now, moved_)) {
            unlinkat(directory, place_.name, 0);
        }
    }

    Place origin_;
    Place place_;
    Descriptor in_;
    ReadLease lease_;  ///< Released last.
    TemporaryName copy_{Directory()};
    TemporaryName aside_{Directory()};
    TemporaryName leaving_{origin_.directory.Get()};
    TemporaryName* former_ = nullptr;  ///< The file that had the target's name.
    struct stat source_ {};
    struct stat moved_ {};
    apr_status_t reason_ = APR_SUCCESS;
};

}  // namespace

apr_status_t MoveAcrossVolumes(const char* from, const char* to) {
    const Uncancelled uncancelled;
    struct stat source {};
    struct stat target {};
    if (lstat(to, &target) == 0) {
        // The rules of a rename within a file system, which may be mounted at two places.
        if (lstat(from, &source) == 0 && IsSameFile(source, target)) {
            return APR_SUCCESS;
        }
        if (S_ISDIR(target.st_mode)) {
            return EISDIR;
        }
    }
    return Move(from, to).Run();
}

}  // namespace zukel::platform
