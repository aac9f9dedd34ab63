#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "platform/FileOperations.h"
#include "platform/linux/CopyContents.h"
#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/HeldSignals.h"
#include "platform/linux/Permissions.h"
#include "platform/linux/SourcePermissions.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// What a copy copies besides the contents.
struct CopyOptions {
    mode_t newMode;           ///< Of a new target, less the umask; not with `sourceMode`.
    bool sourceMode;          ///< The target gets the source's mode,
    bool modeFirst;           ///< before it is opened if it may not be written with its own,
    bool sourceModifiedTime;  ///< and the source's modification time.
};

mode_t ModeOfNew(apr_fileperms_t perms) noexcept {
    constexpr mode_t kSystemDefault = 0666;
    return perms == APR_FPROT_OS_DEFAULT ? kSystemDefault : ModeOf(perms);
}

/// One copy from name to name: the state of both files, and what has been done to the target.
class CopyByName {
public:
    CopyByName(const char* from, const char* to, const CopyOptions& options) noexcept
        : from_(from), to_(to), options_(options) {}

    apr_status_t Run() noexcept {
        targetExists_ = stat(to_, &target_) == 0;
        // A pipe onto itself: opening it would block for ever.
        if (targetExists_ && !S_ISREG(target_.st_mode) && stat(from_, &source_) == 0 &&
            IsSameFile(source_, target_)) {
            return OntoItself();
        }
        in_ = Open(from_, O_RDONLY);
        if (!in_ || fstat(in_.Get(), &source_) != 0) {
            return LastStatus();
        }
        if (S_ISDIR(source_.st_mode)) {
            return EISDIR;
        }
        // By name first: the target may refuse to be opened.
        if (targetExists_ && IsSameFile(source_, target_)) {
            return OntoItself();
        }
        if ((S_ISREG(source_.st_mode) && !contents_.ReadFirst()) ||
            (options_.sourceMode && !permissions_.Read(in_.Get())) || !OpenTarget()) {
            return LastStatus();
        }
        // The descriptors decide: a name may lead elsewhere by now. Nothing has been truncated yet.
        if (!created_ && IsSameFile(source_, target_)) {
            return OntoItself();
        }
        const bool regular = created_ || S_ISREG(target_.st_mode);
        if (Fill(regular) && out_.Close()) {
            return APR_SUCCESS;
        }
        const apr_status_t reason = LastStatus();
        if (regular && touched_) {
            RemoveTarget();
        }
        return reason;
    }

    bool IsOntoItself() const noexcept { return ontoItself_; }

private:
    apr_status_t OntoItself() noexcept {
        ontoItself_ = true;
        return EINVAL;
    }

    static Descriptor Open(const char* name, int flags, mode_t mode = 0) noexcept {
        return Descriptor(Uninterrupted([&] { return open(name, flags | O_CLOEXEC, mode); }));
    }

    /// Opens the target without truncating it, since it may be the source. An existing one is
    /// opened without O_CREAT, which the system refuses in sticky directories of other users. A new
    /// one that is to get the source's permissions is accessible to its owner alone until then.
    bool OpenTarget() noexcept {
        const mode_t mode = options_.sourceMode ? source_.st_mode & S_IRWXU : options_.newMode;
        if (targetExists_) {
            out_ = Open(to_, O_WRONLY);
            if (!out_ && errno == EACCES && options_.modeFirst && S_ISREG(target_.st_mode) &&
                target_.st_uid == geteuid() && chmod(to_, mode) == 0) {
                // As APR does: the mode that the target is to get may make it writable.
                out_ = Open(to_, O_WRONLY);
                if (!out_) {
                    chmod(to_, target_.st_mode & kModeBits);
                }
            }
        }
        if (!out_ && (!targetExists_ || errno == ENOENT)) {
            out_ = Open(to_, O_WRONLY | O_CREAT | O_EXCL, mode);
            if (out_) {
                created_ = touched_ = true;
                return true;
            }
            if (errno == EEXIST) {
                // A dangling symbolic link, or somebody has just created it.
                out_ = Open(to_, O_WRONLY | O_CREAT, mode);
            }
        }
        return out_ && fstat(out_.Get(), &target_) == 0;
    }

    bool Fill(bool regular) noexcept {
        const bool takesMode = regular && options_.sourceMode;
        if (regular && !created_ && !contents_.CoversInOneWrite(target_.st_size)) {
            if (Uninterrupted([this] { return ftruncate(out_.Get(), 0); }) != 0) {
                return false;
            }
            touched_ = true;
        }
        // Before writing: the new contents may be more private than the old.
        const mode_t present = created_ ? SourcePermissions::kUnknown : target_.st_mode;
        if (takesMode && !permissions_.GiveTo(out_.Get(), present)) {
            return false;
        }
        const bool hasSetId =
            created_ && !takesMode && (options_.newMode & (S_ISUID | S_ISGID)) != 0;
        if (hasSetId && fstat(out_.Get(), &target_) != 0) {
            return false;
        }
        touched_ = true;
        if (!WriteContents(regular)) {
            return false;
        }
        // Writing clears the set-ID bits.
        if ((takesMode && !permissions_.GiveSpecialBitsTo(out_.Get())) ||
            (hasSetId && !SucceededOrRefused(fchmod(out_.Get(), target_.st_mode & kModeBits)))) {
            return false;
        }
        const timespec times[] = {{0, UTIME_OMIT}, source_.st_mtim};
        return !regular || !options_.sourceModifiedTime ||
               SucceededOrRefused(futimens(out_.Get(), times));
    }

    /// Without this, SIGXFSZ (file size limit) and SIGPIPE (a pipe without a reader) would end the
    /// process.
    bool WriteContents(bool regular) noexcept {
        const HeldSignals held{SIGXFSZ, SIGPIPE};
        const bool written = (S_ISREG(source_.st_mode) || contents_.ReadFirst()) &&
                             contents_.WriteTo(out_.Get(), regular);
        if (!written) {
            held.Discard();
        }
        return written;
    }

    /// Removes a partial target. Its name may be a link to the file.
    void RemoveTarget() noexcept {
        const bool known = out_ ? fstat(out_.Get(), &target_) == 0 : !created_;
        // Truncate first, so that other names of the file have no partial contents either.
        if (out_ && ftruncate(out_.Get(), 0) != 0) {
            // Best effort: unlink even then.
        }
        const std::unique_ptr<char, decltype(&free)> path(realpath(to_, nullptr), &free);
        struct stat now {};
        if (!path || lstat(path.get(), &now) != 0) {
            return;
        }
        // A new target whose descriptor is gone is known by name only.
        const bool ours = S_ISREG(now.st_mode) && now.st_uid == geteuid() && now.st_nlink == 1;
        if (known ? IsSameFile(now, target_) : ours) {
            unlink(path.get());
        }
    }

    const char* from_;
    const char* to_;
    CopyOptions options_;
    Descriptor in_;
    Descriptor out_;
    struct stat source_ {};
    struct stat target_ {};
    Contents contents_{in_, source_};
    SourcePermissions permissions_{source_};
    bool targetExists_ = false;
    bool created_ = false;
    bool touched_ = false;  ///< A failure from here on removes a regular target.
    bool ontoItself_ = false;
};

/// As far as that is possible.
void MakeWritable(const char* name) noexcept {
    struct stat status {};
    if (stat(name, &status) == 0 && (status.st_mode & S_IWUSR) == 0) {
        chmod(name, (status.st_mode & kModeBits) | S_IWUSR);
    }
}

}  // namespace

apr_status_t CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms) noexcept {
    const Uncancelled uncancelled;
    const bool sourceMode = perms == APR_FPROT_FILE_SOURCE_PERMS;
    return CopyByName(from, to, {ModeOfNew(perms), sourceMode, sourceMode, false}).Run();
}

apr_status_t CopyWithAttributes(const char* from, const char* to, bool normal) noexcept {
    const Uncancelled uncancelled;
    CopyByName copy(from, to, {0, true, false, true});
    const apr_status_t status = copy.Run();
    if (normal && !copy.IsOntoItself()) {
        MakeWritable(to);
    }
    return status;
}

}  // namespace zukel::platform
