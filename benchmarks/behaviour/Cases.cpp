// Files and modules.

#include "Cases.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "Observe.h"

const std::array<Case, 15> kCases{{
    {"copy", "A file is copied onto itself through a symbolic link", CopyThroughLink},
    {"move", "A file is moved to another volume", MoveToOtherVolume},
    {"tree", "A tree is deleted, and meanwhile a directory in it is swapped for a link",
     SwapInTree},
    {"lock", "A file is locked, and another object on it is closed", LockAndClose},
    {"full", "A file is replaced by a larger one, and the volume is full", ReplaceOnFull},
    {"missing", "A program that does not exist is started", StartMissing},
    {"nowhere", "A program is started in a directory that does not exist", StartNowhere},
    {"forget", "50 children are started and forgotten", Forget},
    {"ended", "A child has ended and nobody has collected it: does it run?", AskEnded},
    {"megabyte", "A child writes 1 MB that nobody reads", WriteMegabyte},
    {"flood", "A child writes 1 MB to each output, and both are collected", FloodPipes},
    {"ignored", "A program that ignores SIGCHLD waits for a child", WaitIgnoring},
    {"segment", "The owner of a shared segment is killed", OwnerKilled},
    {"nomodule", "A module that does not exist is loaded: the reason given", LoadMissing},
    {"textmodule", "A text is loaded as a module: the reason given", LoadText},
}};

std::string Words(const Answer& answer) {
    if (answer.done) {
        return "says done";
    }
    std::string reason = answer.reason;
    std::replace_if(
        reason.begin(), reason.end(), [](char byte) { return byte == '|' || byte == '\n'; }, ' ');
    const std::string folder = "/behaviour-XXXXXX";  // as the folder of a case is called
    for (std::size_t place = 0; (place = reason.find(folder.substr(0, 11))) != std::string::npos;) {
        reason.erase(place, folder.size());
    }
    return reason.empty() ? "refuses" : "refuses (`" + reason + "`)";
}

std::string CopyThroughLink(const Library& library) {
    if (!library.copy) {
        return kNoOperation;
    }
    const std::string contents = "the only copy\n";
    std::string seen;
    for (const bool fromLink : {true, false}) {
        const Folder folder("/tmp");
        WriteFile(folder / "file", contents);
        if (symlink("file", (folder / "link").c_str()) != 0) {
            return "cannot be tried";
        }
        const Answer answer = fromLink ? library.copy(folder / "link", folder / "file")
                                       : library.copy(folder / "file", folder / "link");
        seen += (fromLink ? "link to file: " : "; file to link: ") +
                std::string(answer.done ? "says done" : "refuses") + ", the file is " +
                StateOfFile(folder / "file", contents);
    }
    return seen;
}

std::string MoveToOtherVolume(const Library& library) {
    if (!library.move) {
        return kNoOperation;
    }
    const Folder here("/tmp");
    const Folder there("/dev/shm");
    const std::string contents(100000, 'x');
    WriteFile(here / "file", contents);
    const timespec times[] = {{981173106, 0}, {981173106, 0}};
    struct stat before {};
    struct stat after {};
    if (chmod((here / "file").c_str(), 0640) != 0 ||
        utimensat(AT_FDCWD, (here / "file").c_str(), times, 0) != 0 ||
        stat((here / "file").c_str(), &before) != 0 || stat((there / ".").c_str(), &after) != 0 ||
        before.st_dev == after.st_dev) {
        return "cannot be tried: no two volumes";
    }
    const Answer answer = library.move(here / "file", there / "file");
    std::string seen = Words(answer) + ", source " + StateOfFile(here / "file", contents) +
                       ", target " + StateOfFile(there / "file", contents);
    if (stat((there / "file").c_str(), &after) == 0) {
        seen += after.st_mode == before.st_mode ? ", permissions kept" : ", permissions lost";
        seen += after.st_mtim.tv_sec == before.st_mtim.tv_sec ? ", time kept" : ", time lost";
    }
    return seen;
}

std::string LoadMissing(const Library& library) {
    return library.load ? Words(library.load("/nowhere/missing.so")) : kNoOperation;
}

std::string LoadText(const Library& library) {
    const Folder folder("/tmp");
    WriteFile(folder / "text.so", std::string(2000, '-'));
    return library.load ? Words(library.load(folder / "text.so")) : kNoOperation;
}
