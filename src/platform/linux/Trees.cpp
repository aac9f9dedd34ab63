#include "platform/Trees.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/CopyRules.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// A directory on the way from the root of the tree to the current one.
struct Level {
    std::string name;                  ///< In the directory above.
    struct stat facts;                 ///< To recognise it on the way up.
    std::vector<std::string> folders;  ///< Still to be removed.
};

class TreeRemoval {
public:
    apr_status_t Run(const std::string& folder, const std::string& name, bool& entered) {
        start_ = Descriptor(Uninterrupted(
            [&] { return openat(AT_FDCWD, folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); }));
        if (!start_ || !Enter(name)) {
            return errno;
        }
        entered = true;
        while (!levels_.empty()) {
            std::vector<std::string>& folders = levels_.back().folders;
            if (folders.empty()) {
                if (!Leave()) {
                    return reason_;
                }
                continue;
            }
            const std::string next = std::move(folders.back());
            folders.pop_back();
            // A directory that cannot be entered may still be empty.
            if (!Enter(next)) {
                const int error = errno;
                if (error != ENOENT && unlinkat(current_.Get(), next.c_str(), AT_REMOVEDIR) != 0) {
                    Note(error);
                }
            }
        }
        return reason_;
    }

private:
    void Note(int error) noexcept { reason_ = reason_ == APR_SUCCESS ? error : reason_; }

    /// Enters a directory below the current one, and removes everything in it except directories.
    /// @returns false with `errno` if it is not a directory of this file system, or not readable.
    bool Enter(const std::string& name) {
        const int from = levels_.empty() ? start_.Get() : current_.Get();
        Descriptor opened(Uninterrupted([&] {
            return openat(from, name.c_str(),
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        }));
        Level level{name, {}, {}};
        if (!opened || fstat(opened.Get(), &level.facts) != 0) {
            errno = errno == ELOOP ? ENOTDIR : errno;
            return false;
        }
        if (!levels_.empty() && level.facts.st_dev != levels_.front().facts.st_dev) {
            errno = EXDEV;
            return false;
        }
        levels_.push_back(std::move(level));
        above_ = std::move(current_);
        current_ = std::move(opened);
        RemoveFiles(levels_.back().folders);
        return true;
    }

    void RemoveFiles(std::vector<std::string>& folders) {
        constexpr std::size_t kRoom = std::size_t{32} * 1024;
        if (!room_) {
            room_.reset(new char[kRoom]);
        }
        for (;;) {
            const ssize_t size = getdents64(current_.Get(), room_.get(), kRoom);
            if (size <= 0) {
                if (size < 0) {
                    Note(errno);
                }
                return;
            }
            const char* const end = room_.get() + size;
            for (const char* at = room_.get(); at < end;) {
                const auto* const entry = reinterpret_cast<const dirent64*>(at);
                at += entry->d_reclen;
                const char* const name = entry->d_name;
                if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) {
                    RemoveEntry(name, entry->d_type, folders);
                }
            }
        }
    }

    void RemoveEntry(const char* name, unsigned char type, std::vector<std::string>& folders) {
        if (type == DT_DIR) {
            folders.emplace_back(name);
        } else if (unlinkat(current_.Get(), name, 0) != 0) {
            const int error = errno;
            if (error == EISDIR) {  // not every file system reports the type
                folders.emplace_back(name);
            } else if (error != ENOENT) {
                Note(error);
            }
        }
    }

    /// Goes back up and removes the directory it was in. @returns false if the directory above has
    /// moved: then nothing more can be removed safely.
    bool Leave() {
        const std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        if (!levels_.empty() && !above_) {
            above_ = Descriptor(Uninterrupted(
                [&] { return openat(current_.Get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
            struct stat facts {};
            const bool found = above_ && fstat(above_.Get(), &facts) == 0;
            if (!found || !IsSameFile(facts, levels_.back().facts)) {
                Note(found ? EBUSY : errno);
                return false;
            }
        }
        current_ = levels_.empty() ? Descriptor() : std::move(above_);
        above_ = Descriptor();
        const int above = levels_.empty() ? start_.Get() : current_.Get();
        const bool gone = unlinkat(above, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT;
        if (!gone) {
            Note(errno);
        } else if (levels_.empty()) {
            reason_ = APR_SUCCESS;  // nothing is left, whatever failed before
        }
        return true;
    }

    Descriptor start_;  ///< The directory that contains the tree.
    Descriptor current_;
    Descriptor above_;  ///< The directory of the current one, where it is still open.
    std::vector<Level> levels_;
    std::unique_ptr<char[]> room_;  ///< The buffer for entries.
    apr_status_t reason_ = APR_SUCCESS;
};

}  // namespace

apr_status_t RemoveTree(const char* path, bool& entered) {
    entered = false;
    const Uncancelled uncancelled;
    std::string whole(path);
    // A trailing separator would make the system follow a symbolic link.
    whole.erase(whole.find_last_not_of('/') + 1);
    const std::size_t slash = whole.rfind('/');
    const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
    const std::string name = whole.substr(begin);
    if (name.empty() || name == "." || name == "..") {
        return APR_EINVAL;
    }
    return TreeRemoval().Run(begin == 0 ? "." : whole.substr(0, begin), name, entered);
}

}  // namespace zukel::platform
