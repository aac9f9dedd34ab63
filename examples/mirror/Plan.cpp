#include "Plan.h"

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelStatus.h>

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kPlainBits = 0x777;
constexpr int kOwnersBits = 0x700;

bool SameContents(const zuString& one, const zuString& other) {
    kelFile first(one, kelFile::ModeRead);
    kelFile second(other, kelFile::ModeRead);
    std::vector<char> left(65536);
    std::vector<char> right(left.size());
    unsigned long long size = left.size();
    while (first.Read(left.data(), size) == kelStatusOk) {
        unsigned long long same = size;
        if (second.Read(right.data(), same) != kelStatusOk || same != size ||
            !std::equal(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(size),
                        right.begin())) {
            return false;
        }
        size = left.size();
    }
    unsigned long long rest = 1;
    return first.IsOpen() && second.IsOpen() && first.EndOfFile() &&
           second.Read(right.data(), rest) != kelStatusOk && second.EndOfFile();
}

/// Compares the two trees and says what there is to do.
class Planner {
public:
    Planner(const Options& options, Screen& screen, Counts& counts)
        : options_(options), screen_(screen), counts_(counts) {}

    std::vector<Action> Run(bool targetExists) {
        above_ = {ResolvedPath(options_.source)};
        if (targetExists) {
            above_.push_back(
                ResolvedPath(options_.target));  // never walked into, whatever links to it
        }
        Compare("", targetExists);
        // Deletions come last: if a copy fails before, the target has lost nothing.
        actions_.insert(actions_.end(), vanished_.begin(), vanished_.end());
        return actions_;
    }

private:
    zuString Source(const zuString& name) const { return options_.source + "/" + name; }
    zuString Target(const zuString& name) const { return options_.target + "/" + name; }

    void Fail(const char* what, const zuString& name) {
        screen_.Problem(what, name);
        ++counts_.failed;
    }

    bool List(const zuString& directory, std::vector<zuString>& names) {
        if (kelDirectory::GetFileNames(directory, names) != kelStatusOk) {
            Fail("cannot be read", directory);
            return false;
        }
        std::sort(names.begin(), names.end());
        return true;
    }

    void Compare(const zuString& below, bool targetExists) {
        std::vector<zuString> names;
        std::vector<zuString> there;
        if (!List(Source(below), names) || (targetExists && !List(Target(below), there))) {
            return;
        }
        for (const zuString& name : names) {
            if (interruptedBy != 0) {
                return;
            }
            CompareEntry(below + name, targetExists);
        }
        for (const zuString& name : there) {
            // Asked once more, by its name: the source may have got this file since it was listed.
            if (options_.remove && !std::binary_search(names.begin(), names.end(), name) &&
                kelFileInfo(Source(below + name)).GetType() == kelFileInfo::NoFile) {
                vanished_.push_back({Action::Remove, below + name, 0, 0, false});
            }
        }
    }

    void CompareEntry(const zuString& name, bool targetExists) {
        const kelFileInfo from(Source(name));
        const kelFileInfo to(Target(name));
        const kelFileInfo::FileType is = targetExists ? to.GetType() : kelFileInfo::NoFile;
        const bool link = from.GetType() == kelFileInfo::Link;
        kelFileInfo::FileType type = from.GetType();
        if (link && options_.follow) {
            type = kelFileInfo(Source(name) + "/.").GetType() == kelFileInfo::Directory
                       ? kelFileInfo::Directory
                   : kelFile::Exists(Source(name)) ? kelFileInfo::RegularFile
                                                   : kelFileInfo::Link;
        }
        if (type == kelFileInfo::Directory) {
            CompareDirectory(name, link, from, is);
        } else if (type == kelFileInfo::RegularFile) {
            if (is == kelFileInfo::RegularFile && IsSame(name, link, from, to)) {
                ++counts_.unchanged;
            } else if (is != kelFileInfo::Directory || MakeWay(name)) {
                const kelFileInfo file(Source(name), kelFileInfo::LinksFollowed);
                actions_.push_back({Action::CopyFile, name, 0,
                                    static_cast<unsigned long long>(file.GetLength()),
                                    is != kelFileInfo::NoFile && is != kelFileInfo::Directory});
            }
        } else if (type == kelFileInfo::NoFile) {
            Fail("cannot be looked at", Source(name));
        } else {
            screen_.Problem(link ? "a symbolic link, left out" : "no plain file, left out",
                            Source(name));
            ++counts_.leftOut;
        }
    }

    void CompareDirectory(const zuString& name, bool link, const kelFileInfo& from,
                          kelFileInfo::FileType is) {
        const zuString resolved = link ? ResolvedPath(Source(name))
                                       : above_.front() + "/" + name.substr(name.rfind('/') + 1);
        if (std::find(above_.begin(), above_.end(), resolved) != above_.end()) {
            screen_.Problem("leads back into itself or the target, left out", Source(name));
            ++counts_.leftOut;
            return;
        }
        if (is != kelFileInfo::Directory) {
            if (is != kelFileInfo::NoFile && !MakeWay(name)) {
                return;
            }
            const int perms = link ? kelFileInfo::PermissionDefault : from.GetPermissions();
            actions_.push_back(
                {Action::MakeDirectory, name, (perms & kPlainBits) | kOwnersBits, 0, false});
        }
        above_.insert(above_.begin(), resolved);
        Compare(name + "/", is == kelFileInfo::Directory);
        above_.erase(above_.begin());
    }

    bool MakeWay(const zuString& name) {
        if (!options_.remove) {
            Fail("something of another kind is in the way (see --delete)", Target(name));
            return false;
        }
        actions_.push_back({Action::Remove, name, 0, 0, false});
        return true;
    }

    bool IsSame(const zuString& name, bool link, const kelFileInfo& from,
                const kelFileInfo& to) const {
        // The metadata of a link are not those of its target.
        return link
                   ? SameContents(Source(name), Target(name))
                   : from.GetLength() == to.GetLength() &&
                         from.GetLastModifiedTime() == to.GetLastModifiedTime() &&
                         (from.GetPermissions() & kPlainBits) == (to.GetPermissions() & kPlainBits);
    }

    const Options& options_;
    Screen& screen_;
    Counts& counts_;
    std::vector<zuString> above_;  // resolved paths of the directories being walked
    std::vector<Action> actions_;
    std::vector<Action> vanished_;
};

}  // namespace

zuString ResolvedPath(const zuString& directory) {
    zuString name;
    kelFile::GetRealPath(directory + "/.", name);  // fails if the directory cannot be entered
    return kelFileInfo(name).GetType() == kelFileInfo::Directory ? name : "";
}

std::vector<Action> MakePlan(const Options& options, bool targetExists, Screen& screen,
                             Counts& counts) {
    return Planner(options, screen, counts).Run(targetExists);
}
