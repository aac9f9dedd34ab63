#include "Options.h"

#include <cstdio>

#include "Screen.h"

namespace {

constexpr char kUsage[] = R"(usage: mirror [-n] [-q | -v] [-L] [--delete] [--no-sync] SOURCE TARGET
Makes the directory TARGET equal to the directory SOURCE.

  -n         say what would be done and do nothing
  -q         say nothing but what went wrong
  -v         name everything that is done, also beside the progress bar of a terminal
  -L         copy what symbolic links lead to; without it they are left out
  --delete   remove what is in TARGET but not in SOURCE, and what stands in the way
  --no-sync  leave it to the system when what was copied goes to the disk
  --help     print this text

A file is copied when its size, its modification time or its permissions differ; one behind a link
when its contents do. It goes to a file .mirror-XXXXXX in TARGET first, to the disk, and then takes
the place of the old one in one step, so nothing half-written ever has its name, whenever the run
ends and, without --no-sync, whenever the machine loses power. What comes up in TARGET under the
name of a new file meanwhile is not replaced. Pipes, sockets and devices are left out. Directories
get the permissions of the source less the umask when they are made, and stay open to their owner.
A directory is removed with all that is in it, but for what is mounted there, and counts once.

It is no backup: what SOURCE has lost is gone from TARGET too after a run with --delete, and what was
spoiled there is spoiled here; no former state is kept. Not carried over: symbolic links, owners and
groups, hard links (each name becomes a file of its own), extended attributes, the times of
directories, and the permissions of directories that exist.

The first interrupt ends the run after the file or the tree at hand, a second one at once; a
.mirror- file that then stays in TARGET goes with the next run that has --delete.

Exit code: 0 TARGET is equal (or would be); 1 something failed; 2 a wrong call; 3 equal but for what
was left out; 128 and the number of the signal when interrupted.
)";

}  // namespace

int ReadArguments(int count, char** arguments, Options& options) {
    std::vector<zuString> names;
    for (int index = 1; index < count; ++index) {
        const zuString argument = arguments[index];
        if (argument == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (argument == "-n") {
            options.dryRun = true;
        } else if (argument == "-q") {
            options.talk = Talk::Quiet;
        } else if (argument == "-v") {
            options.talk = Talk::Verbose;
        } else if (argument == "-L") {
            options.follow = true;
        } else if (argument == "--delete") {
            options.remove = true;
        } else if (argument == "--no-sync") {
            options.sync = false;
        } else if (argument.size() > 1 && argument[0] == '-' && names.empty()) {
            std::fprintf(stderr, "mirror: unknown option %s\n%s", Shown(argument).c_str(), kUsage);
            return 2;
        } else {
            names.push_back(argument);
        }
    }
    if (names.size() != 2 || names[0].empty() || names[1].empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    options.source = names[0];
    options.target = names[1];
    return -1;
}
