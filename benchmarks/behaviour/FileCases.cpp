// Trees, locks and full volumes.

#include <fcntl.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <thread>

#include "Cases.h"
#include "Observe.h"

namespace {

namespace fs = std::filesystem;

std::ptrdiff_t Count(const std::string& directory) {
    std::error_code missing;
    return std::distance(fs::directory_iterator(directory, missing), fs::directory_iterator());
}

void Fill(const std::string& directory, int files) {
    fs::create_directories(directory);
    for (int file = 0; file < files; ++file) {
        WriteFile(directory + "/file " + std::to_string(file), "");
    }
}

/// Whether another process gets a lock on the file.
bool OtherGetsLock(const std::string& file) {
    const pid_t other = fork();
    if (other == 0) {
        execl("/proc/self/exe", "behaviour", "--lock", file.c_str(), nullptr);
        _exit(2);
    }
    int status = -1;
    return waitpid(other, &status, 0) == other && status == 0;
}

/// A file system with room for 64 KiB, for this process alone, as long as the object lives.
class SmallVolume {
public:
    explicit SmallVolume(const std::string& place) : place_(place) {
        mounted_ = (unshare(CLONE_NEWNS) == 0 || BecomeRoot()) &&
                   mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("none", place_.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallVolume() {
        if (mounted_) {
            umount2(place_.c_str(), MNT_DETACH);
        }
    }
    SmallVolume(const SmallVolume&) = delete;
    SmallVolume& operator=(const SmallVolume&) = delete;
    bool IsThere() const { return mounted_; }

private:
    /// In a name space of its own, where it may mount.
    static bool BecomeRoot() {
        const std::string user = "0 " + std::to_string(getuid()) + " 1";
        const std::string group = "0 " + std::to_string(getgid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        WriteFile("/proc/self/uid_map", user);
        WriteFile("/proc/self/setgroups", "deny");
        WriteFile("/proc/self/gid_map", group);
        return getuid() == 0;
    }

    std::string place_;
    bool mounted_;
};

}  // namespace

std::string SwapInTree(const Library& library) {
    if (!library.deleteTree) {
        return kNoOperation;
    }
    constexpr int kFiles = 5000;
    const Folder folder("/tmp");
    const std::string inside = folder / "tree/directory";
    Fill(inside, kFiles);
    Fill(folder / "outside", kFiles);
    fs::create_directory_symlink(folder / "outside", folder / "link");
    const int watch = inotify_init1(IN_CLOEXEC);
    if (inotify_add_watch(watch, inside.c_str(), IN_DELETE) < 0) {
        return "cannot be tried";
    }
    // As soon as a file in it has gone, the directory is outside and the link is in its place.
    bool swapped = false;
    std::thread other([&, link = folder / "link"] {
        char events[4096];
        swapped = read(watch, events, sizeof events) > 0 &&
                  renameat2(AT_FDCWD, link.c_str(), AT_FDCWD, inside.c_str(), RENAME_EXCHANGE) == 0;
    });
    const Answer answer = library.deleteTree(folder / "tree");
    other.join();
    close(watch);
    if (!swapped) {
        return "cannot be tried";
    }
    return Words(answer) + (Count(folder / "outside") == kFiles
                                ? ", no file outside is touched"
                                : ", files outside the tree are deleted");
}

int TryLock(const Library& library, const char* file) {
    std::shared_ptr<void> object;
    return library.lock(file, object).done ? 0 : 1;
}

std::string LockAndClose(const Library& library) {
    if (!library.lock) {
        return kNoOperation;
    }
    const Folder folder("/tmp");
    const std::string file = folder / "file";
    WriteFile(file, "contents");
    std::shared_ptr<void> object;
    const auto other = [&] { return OtherGetsLock(file) ? "gets it too" : "is refused"; };
    std::string seen = Words(library.lock(file, object));
    seen.append(", another process ").append(other());
    library.openAndClose(file);
    return seen.append("; after the other object is closed it ").append(other());
}

std::string ReplaceOnFull(const Library& library) {
    if (!library.replace) {
        return kNoOperation;
    }
    const Folder folder("/tmp");
    const SmallVolume volume(folder / ".");
    if (!volume.IsThere()) {
        return "cannot be tried: no volume may be mounted";
    }
    const std::string contents = "the only copy\n";
    WriteFile(folder / "file", contents);
    const Answer answer = library.replace(folder / "file", std::string(100000, 'x'));
    const std::ptrdiff_t more = Count(folder / ".") - 1;
    return Words(answer) + ", the file is " + StateOfFile(folder / "file", contents) +
           (more == 0 ? "" : ", " + std::to_string(more) + " more is left behind");
}
