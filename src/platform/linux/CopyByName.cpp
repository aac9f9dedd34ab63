#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "platform/FileOperations.h"
#include "platform/linux/CopyContents.h"
#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/Permissions.h"

namespace zukel::platform {

namespace {

/// What a copy carries over beside the contents.
struct Manner {
    mode_t newMode;           ///< Of a new target, less the umask; not with `sourceMode`.
    bool sourceMode;          ///< The target gets the source's mode,
    bool modeFirst;           ///< before it is opened if it may not be written with its own,
    bool sourceModifiedTime;  ///< and the source's modification time.
};

mode_t ModeOfNew(apr_fileperms_t perms) noexcept {
    constexpr mode_t kSystemDefault = 0666;
    return perms == APR_FPROT_OS_DEFAULT ? kSystemDefault : ModeOf(perms);
}

/// One copy from name to name: what is known of both ends, and what has happened to the target.
class CopyByName {
public:
    CopyByName(const char* from, const char* to, const Manner& manner) noexcept
        : from_(from), to_(to), manner_(manner) {}

    CopyEnd Run() noexcept {
        // By name first, as far as that tells: opening may wait (a pipe) or be refused already.
        const bool sourceExists = stat(from_, &source_) == 0;
        targetExists_ = stat(to_, &target_) == 0;
        if (sourceExists && targetExists_ && IsSameFile(source_, target_)) {
            return CopyEnd::SameFile;
        }
        if (!OpenSource() || !OpenTarget()) {
            return CopyEnd::Failed;
        }
        if (fstat(out_.Get(), &target_) != 0) {
            if (created_) {
                unlink(to_);
            }
            return CopyEnd::Failed;
        }
        // And for certain now. Nothing has been cut so far.
        if (IsSameFile(source_, target_)) {
            return CopyEnd::SameFile;
        }
        const bool regular = S_ISREG(target_.st_mode);
        if (regular && !created_ && ftruncate(out_.Get(), 0) != 0) {
            return CopyEnd::Failed;
        }
        if (Fill(regular) && out_.Close()) {
            return CopyEnd::Done;
        }
        if (regular) {
            RemoveTarget();
        }
        return CopyEnd::Failed;
    }

private:
    bool OpenSource() noexcept {
        in_ = Descriptor(open(from_, O_RDONLY | O_CLOEXEC));
        return in_ && fstat(in_.Get(), &source_) == 0 && !S_ISDIR(source_.st_mode) && GivesAByte();
    }

    /// Some files open and then cannot be read: the target must not suffer from that.
    bool GivesAByte() const noexcept {
        char first = 0;
        return !S_ISREG(source_.st_mode) || pread(in_.Get(), &first, 1, 0) >= 0 ||
               errno == ESPIPE || errno == EINTR;
    }

    /// Opens the target as it is, to be cut later: it may turn out to be the source.
    bool OpenTarget() noexcept {
        constexpr int kFlags = O_WRONLY | O_CREAT | O_CLOEXEC;
        const mode_t mode =
            manner_.sourceMode ? source_.st_mode & kReadWriteExecute : manner_.newMode;
        if (!targetExists_) {
            out_ = Descriptor(open(to_, kFlags | O_EXCL, mode));
            created_ = static_cast<bool>(out_);
            if (created_ || errno != EEXIST) {
                return created_;
            }
            // A link that leads nowhere, or somebody has just been quicker.
        }
        out_ = Descriptor(open(to_, kFlags, mode));
        if (!out_ && errno == EACCES && targetExists_ && manner_.modeFirst &&
            S_ISREG(target_.st_mode) && chmod(to_, mode) == 0) {
            // As the runtime: the mode that the target is to have anyway may let it be written.
            out_ = Descriptor(open(to_, kFlags, mode));
            if (!out_) {
                chmod(to_, target_.st_mode);
            }
        }
        return static_cast<bool>(out_);
    }

    bool Fill(bool regular) noexcept {
        const bool takesMode = regular && manner_.sourceMode;
        // Before there is anything to read: it may be meant for fewer eyes than the old contents.
        if (takesMode && !DoneOrRefused(fchmod(out_.Get(), source_.st_mode & kReadWriteExecute))) {
            return false;
        }
        if (!CopyContents(in_.Get(), out_.Get(), source_)) {
            return false;
        }
        // The rest of the mode only now: writing takes the set-ID bits away.
        const mode_t mode = ModeForCopy(source_, target_);
        if (takesMode && mode > kReadWriteExecute && !DoneOrRefused(fchmod(out_.Get(), mode))) {
            return false;
        }
        const timespec times[] = {{0, UTIME_OMIT}, source_.st_mtim};
        return !regular || !manner_.sourceModifiedTime ||
               DoneOrRefused(futimens(out_.Get(), times));
    }

    /// Leaves nothing half-written under the target's name, which may be a link to the file. Cut
    /// first, so that other names of the file show no part either.
    void RemoveTarget() noexcept {
        if (out_ && ftruncate(out_.Get(), 0) != 0) {
            // Then they do. The name goes all the same.
        }
        char path[PATH_MAX];
        struct stat now {};
        if (realpath(to_, path) != nullptr && lstat(path, &now) == 0 && IsSameFile(now, target_)) {
            unlink(path);
        }
    }

    const char* from_;
    const char* to_;
    Manner manner_;
    Descriptor in_;
    Descriptor out_;
    struct stat source_ {};
    struct stat target_ {};
    bool targetExists_ = false;
    bool created_ = false;
};

}  // namespace

CopyEnd CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms) noexcept {
    const bool sourceMode = perms == APR_FPROT_FILE_SOURCE_PERMS;
    return CopyByName(from, to, {ModeOfNew(perms), sourceMode, sourceMode, false}).Run();
}

CopyEnd CopyWithAttributes(const char* from, const char* to) noexcept {
    return CopyByName(from, to, {0, true, false, true}).Run();
}

}  // namespace zukel::platform
