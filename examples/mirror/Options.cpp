#include "Options.h"

#include <cstdio>

#include "Screen.h"

namespace {

constexpr char kUsage[] =
    "usage: mirror [-n] [-q | -v] [-L] [--delete] SOURCE TARGET\n"
    "Makes the directory TARGET equal to the directory SOURCE.\n"
    "\n"
    "  -n        say what would be done and do nothing\n"
    "  -q        say nothing but what went wrong\n"
    "  -v        name everything that is done, also beside the progress bar of a terminal\n"
    "  -L        copy what symbolic links lead to; without it they are left out\n"
    "  --delete  remove what is in TARGET but not in SOURCE, and what stands in the way\n"
    "  --help    print this text\n"
    "\n"
    "A file is copied when its size, its modification time or its permissions differ; one behind "
    "a\n"
    "link when its contents do. It goes to a file .mirror-XXXXXX in TARGET first and then takes "
    "the\n"
    "place of the old one in one step, so nothing half-written ever has its name, whenever the "
    "run\n"
    "ends. Pipes, sockets and devices are left out. Directories get the permissions of the source\n"
    "less the umask when they are made, and stay open to their owner.\n"
    "\n"
    "The first interrupt ends the run after the file at hand, a second one at once; a .mirror-\n"
    "file that then stays in TARGET goes with the next run that has --delete.\n"
    "\n"
    "Exit code: 0 TARGET is equal (or would be); 1 something failed; 2 a wrong call; 3 equal but "
    "for\n"
    "what was left out; 128 and the number of the signal when interrupted.\n";

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
