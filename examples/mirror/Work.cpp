#include "Work.h"

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelStatus.h>

#include <set>

namespace {

class Worker {
public:
    Worker(const Options& options, Screen& screen, Counts& counts)
        : options_(options), screen_(screen), counts_(counts) {}

    void Run(const std::vector<Action>& actions) {
        unsigned long long all = 0;
        unsigned long long done = 0;
        for (const Action& action : actions) {
            all += action.size;
        }
        for (const Action& action : actions) {
            if (interruptedBy != 0) {
                break;
            }
            screen_.Progress(done, all);
            Do(action);
            done += action.size;
        }
        if (options_.sync && !options_.dryRun) {
            SyncNames();
        }
    }

private:
    void Report(bool succeeded, unsigned long long& count, const char* what, const char* failure,
                const zuString& name) {
        if (succeeded) {
            ++count;
            screen_.Did(what, name);
        } else {
            ++counts_.failed;
            screen_.Problem(failure, options_.target + "/" + name);
        }
    }

    void Do(const Action& action) {
        const zuString& name = action.name;
        if (action.kind == Action::MakeDirectory) {
            Report(
                options_.dryRun || kelDirectory::Create(name, action.perms, false) == kelStatusOk,
                counts_.made, "make", "cannot be made", name + "/");
        } else if (action.kind == Action::CopyFile) {
            const int status = options_.dryRun ? kelStatusOk : Replace(name, action.replaces);
            Report(status == kelStatusOk, counts_.copied, "copy",
                   status == kelStatusExists ? "has come up meanwhile" : "cannot be copied", name);
            counts_.bytes += status == kelStatusOk ? action.size : 0;
        } else {
            Remove(name);
        }
        const std::size_t slash = name.rfind('/');
        changed_.insert(slash == zuString::npos ? "." : name.substr(0, slash));
    }

    /// The temporary file only reserves a name that nobody else uses. It is closed before the copy:
    /// Windows would refuse the copy while it is open, and delete the file under its new name.
    int Replace(const zuString& name, bool replaces) const {
        kelFile file;
        if (file.CreateTemporaryFile(".mirror-XXXXXX") != kelStatusOk) {
            return kelStatusFailed;
        }
        const zuString part = file.GetFileName();
        file.Close();
        int status = kelFile::NativeCopy(options_.source + "/" + name, part, 0);
        if (status == kelStatusOk && options_.sync) {
            status = Sync(part);
        }
        if (status == kelStatusOk) {
            status = replaces ? kelFile::Rename(part, name) : RenameToNew(part, name);
        }
        if (status != kelStatusOk) {
            kelFile::Delete(part);
        }
        return status;
    }

    /// Windows syncs only files opened for writing: a read-only copy is made writable meanwhile.
    static int Sync(const zuString& part) {
        constexpr int kWritable =
            kelFileInfo::PermissionOwnerRead | kelFileInfo::PermissionOwnerWrite;
        const int perms = kelFileInfo(part).GetPermissions();
        const bool writable = (perms & kWritable) == kWritable;
        if (!writable) {
            kelFile::SetPermissions(part, kWritable);
        }
        kelFile file(part, kelFile::ModeRead | kelFile::ModeWrite);
        int status = file.Sync();
        file.Close();
        if (status == kelStatusOk && !writable) {
            status = kelFile::SetPermissions(part, perms);
        }
        return status;
    }

    /// Some file systems have no rename that refuses an existing target.
    static int RenameToNew(const zuString& part, const zuString& name) {
        const int status = kelFile::RenameNew(part, name);
        const bool free = kelFileInfo(name).GetType() == kelFileInfo::NoFile;
        return status == kelStatusFailed && free ? kelFile::Rename(part, name) : status;
    }

    void Remove(const zuString& name) {
        const bool tree = kelFileInfo(Below(name)).GetType() == kelFileInfo::Directory;
        const auto remove = [&] {
            return tree ? kelDirectory::DeleteTree(name) : kelFile::Delete(name);
        };
        Report(options_.dryRun || remove() == kelStatusOk, counts_.removed, "remove",
               "cannot be removed", tree ? name + "/" : name);
    }

    /// Syncs the directories whose entries have changed.
    void SyncNames() {
        for (const zuString& directory : changed_) {
            if (kelDirectory::Sync(directory) != kelStatusOk) {
                ++counts_.failed;
                screen_.Problem("cannot be brought to the disk", Below(directory));
            }
        }
    }

    /// In a dry run the target may not exist, so it cannot be the current directory.
    zuString Below(const zuString& name) const { return options_.target + "/" + name; }

    const Options& options_;
    Screen& screen_;
    Counts& counts_;
    std::set<zuString> changed_;  // directories
};

}  // namespace

void DoPlan(const std::vector<Action>& actions, const Options& options, Screen& screen,
            Counts& counts) {
    Worker(options, screen, counts).Run(actions);
}
