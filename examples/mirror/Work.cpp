#include "Work.h"

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelStatus.h>

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
                return;
            }
            screen_.Progress(done, all);
            Do(action);
            done += action.size;
        }
    }

private:
    void Tell(bool succeeded, unsigned long long& count, const char* what, const char* failure,
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
            Tell(options_.dryRun || kelDirectory::Create(name, action.perms, false) == kelStatusOk,
                 counts_.made, "make", "cannot be made", name + "/");
        } else if (action.kind == Action::CopyFile) {
            const bool copied = options_.dryRun || Replace(name);
            Tell(copied, counts_.copied, "copy", "cannot be copied", name);
            if (copied) {
                counts_.bytes += WholeSize(options_.dryRun ? options_.source + "/" + name : name);
            }
        } else {
            RemoveTree(name);
        }
    }

    /// The temporary file is only there to have a name that nobody else uses. It is closed before
    /// the copy: Windows lets nobody else write to it, and would remove it under its new name too.
    bool Replace(const zuString& name) const {
        kelFile file;
        if (file.CreateTemporaryFile(".mirror-XXXXXX") != kelStatusOk) {
            return false;
        }
        const zuString part = file.GetFileName();
        file.Close();
        const bool replaced =
            kelFile::NativeCopy(options_.source + "/" + name, part, 0) == kelStatusOk &&
            kelFile::Rename(part, name) == kelStatusOk;
        if (!replaced) {
            kelFile::Delete(part);
        }
        return replaced;
    }

    /// The size beyond the 32 bits that `kelFileInfo` tells: found by looking 4 GiB further.
    static unsigned long long WholeSize(const zuString& path) {
        constexpr long long kStep = 1LL << 32;
        kelFile file(path, kelFile::ModeRead);
        const kelFileInfo info(path);
        long long size = info.GetType() == kelFileInfo::RegularFile
                             ? static_cast<long long>(static_cast<unsigned>(info.GetSize()))
                             : 0;
        char last = 0;
        while (file.SeekTo(size + kStep - 1) == kelStatusOk && file.Read(last) == kelStatusOk) {
            size += kStep;
        }
        return static_cast<unsigned long long>(size);
    }

    void RemoveTree(const zuString& name) {
        if (interruptedBy != 0) {
            return;
        }
        if (kelFileInfo(Below(name)).GetType() != kelFileInfo::Directory) {
            Tell(options_.dryRun || kelFile::Delete(name) == kelStatusOk, counts_.removed, "remove",
                 "cannot be removed", name);
            return;
        }
        const zuString inside = name + "/";
        for (const zuString& entry : kelDirectory::GetFileNames(Below(name))) {
            RemoveTree(inside + entry);
        }
        if (interruptedBy != 0) {
            return;
        }
        Tell(options_.dryRun || kelDirectory::Delete(name) == kelStatusOk, counts_.removed,
             "remove", "cannot be removed", inside);
    }

    /// A dry run may have no target to be the current directory.
    zuString Below(const zuString& name) const { return options_.target + "/" + name; }

    const Options& options_;
    Screen& screen_;
    Counts& counts_;
};

}  // namespace

void DoPlan(const std::vector<Action>& actions, const Options& options, Screen& screen,
            Counts& counts) {
    Worker(options, screen, counts).Run(actions);
}
