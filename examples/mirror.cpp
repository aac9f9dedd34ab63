// Makes a target directory a copy of a source directory; the usage is in mirror/Options.cpp.

#include <kelDirectory.h>
#include <kelFileInfo.h>
#include <kelStatus.h>

#include <chrono>
#include <csignal>
#include <cstdio>

#include "mirror/Plan.h"
#include "mirror/Work.h"

volatile std::sig_atomic_t interruptedBy = 0;

namespace {

void Interrupt(int number) {
    interruptedBy = number;
    std::signal(number, SIG_DFL);  // a second one ends the program
}

bool IsWithin(const zuString& inner, const zuString& outer) {
    return outer == "/" || (inner + "/").compare(0, outer.size() + 1, outer + "/") == 0;
}

/// The path of the directory without links or, if it does not exist, that of its nearest parent.
zuString NearestResolvedPath(zuString path) {
    zuString name = ResolvedPath(path);
    while (name.empty() && path != "/" && path != ".") {
        path.erase(path.find_last_not_of('/') + 1);
        const std::size_t slash = path.rfind('/');
        path = slash == zuString::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
        name = ResolvedPath(path);
    }
    return name;
}

/// Resolves links in both paths, and creates the target if it is missing.
bool FindDirectories(Options& options, bool& targetExists) {
    const zuString source = ResolvedPath(options.source);
    if (source.empty()) {
        std::fprintf(stderr, "mirror: %s: not a directory that can be entered\n",
                     Shown(options.source).c_str());
        return false;
    }
    zuString target = ResolvedPath(options.target);
    targetExists = !target.empty();
    if (IsWithin(NearestResolvedPath(options.target), source) ||
        (targetExists && IsWithin(source, target))) {
        std::fprintf(stderr, "mirror: one of the directories lies in the other\n");
        return false;
    }
    if (!targetExists && !options.dryRun) {
        kelDirectory::Create(options.target, kelFileInfo::PermissionDefault, true);
        target = ResolvedPath(options.target);
        targetExists = !target.empty();
        if (!targetExists) {
            std::fprintf(stderr, "mirror: %s: cannot be made a directory\n",
                         Shown(options.target).c_str());
            return false;
        }
    }
    options.source = source;
    if (targetExists) {
        options.target = target;
    }
    return true;
}

void PrintSummary(const Options& options, const Counts& counts, double seconds) {
    std::printf("%s%llu copied (%.1f MB), %llu made, %llu removed, %llu unchanged",
                options.dryRun ? "would be: " : "", counts.copied,
                static_cast<double>(counts.bytes) / 1e6, counts.made, counts.removed,
                counts.unchanged);
    if (counts.leftOut != 0) {
        std::printf(", %llu left out", counts.leftOut);
    }
    if (counts.failed != 0) {
        std::printf(", %llu FAILED", counts.failed);
    }
    std::printf(" in %.2f s%s\n", seconds, interruptedBy != 0 ? " (interrupted)" : "");
}

}  // namespace

int main(int count, char** arguments) {
    const auto start = std::chrono::steady_clock::now();
    Options options;
    const int code = ReadArguments(count, arguments, options);
    if (code != -1) {
        return code;
    }
    bool targetExists = false;
    if (!FindDirectories(options, targetExists)) {
        return 1;
    }
    std::signal(SIGINT, Interrupt);
    std::signal(SIGTERM, Interrupt);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);  // the reader has left; the work goes on
#endif

    Screen screen(options.talk);
    Counts counts;
    const std::vector<Action> actions = MakePlan(options, targetExists, screen, counts);
    if (targetExists && kelDirectory::SetCurrentDirectory(options.target) != kelStatusOk) {
        screen.Problem("cannot be entered any more", options.target);
        return 1;
    }
    DoPlan(actions, options, screen, counts);
    screen.Clear();
    if (options.talk != Talk::Quiet) {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        PrintSummary(options, counts, took.count());
    }
    if (interruptedBy != 0) {
        return 128 + interruptedBy;
    }
    return counts.failed != 0 ? 1 : counts.leftOut != 0 ? 3 : 0;
}
