// Child processes.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "Cases.h"
#include "Observe.h"

namespace {

bool Exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

/// A child's output, where the library leaves that alone, is of no interest here.
class NoOutput {
public:
    NoOutput() : kept_(dup(STDOUT_FILENO)) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~NoOutput() {
        dup2(kept_, STDOUT_FILENO);
        close(kept_);
    }
    NoOutput(const NoOutput&) = delete;
    NoOutput& operator=(const NoOutput&) = delete;

private:
    int kept_;
};

Command Shell(const std::string& script) {
    return {{"/bin/sh", "-c", script}, {}, false};
}

std::string Zombies() {
    const int count = CountZombies();
    return std::to_string(count) + (count == 1 ? " zombie" : " zombies");
}

}  // namespace

std::string FloodPipes(const Library& library) {
    if (!library.collect) {
        return kNoOperation;
    }
    constexpr std::size_t kSize = 1000000;
    std::string output;
    std::string errors;
    const Answer answer = library.collect(
        Shell("head -c 1000000 /dev/zero >&2; head -c 1000000 /dev/zero").words, output, errors);
    return Words(answer) + (output.size() == kSize && errors.size() == kSize
                                ? ", both are whole"
                                : ", some of it is lost");
}

std::string WaitIgnoring(const Library& library) {
    std::signal(SIGCHLD, SIG_IGN);
    Child child;
    if (!library.start(Shell("sleep 0.3; exit 7"), child).done || !child.wait) {
        return "cannot be tried";
    }
    int code = -1;
    const Answer answer = child.wait(code);
    return Words(answer) + (Runs(child.pid) ? ", the child runs on" : ", the child has ended") +
           (code < 0 ? ", its exit code is not known" : ", exit code " + std::to_string(code));
}

std::string StartMissing(const Library& library) {
    Child child;
    const Answer answer = library.start({{"/nowhere/missing"}, {}, false}, child);
    WaitUntil(
        300, [] { return false; }, library.turn);
    return Words(answer) + ", " + Zombies();
}

std::string StartNowhere(const Library& library) {
    const Folder folder("/tmp");
    Command command = Shell("echo >" + (folder / "ran"));
    command.directory = folder / "missing";
    Child child;
    const Answer answer = library.start(command, child);
    const bool ran = WaitUntil(
        500, [&] { return Exists(folder / "ran"); }, library.turn);
    return Words(answer) + ", the program " + (ran ? "ran elsewhere" : "did not run");
}

std::string Forget(const Library& library) {
    constexpr int kChildren = 50;
    const Folder folder("/tmp");
    const auto worked = [&] {
        int count = 0;
        for (int number = 0; number < kChildren; ++number) {
            count += Exists(folder / std::to_string(number)) ? 1 : 0;
        }
        return count;
    };
    for (int number = 0; number < kChildren; ++number) {
        Child child;
        const std::string mark = folder / std::to_string(number);
        if (!library.start(Shell("sleep 0.2; echo >" + mark), child).done) {
            return "cannot be tried";
        }
    }
    WaitUntil(
        4000, [&] { return worked() == kChildren; }, library.turn);
    WaitUntil(
        500, [] { return false; }, library.turn);
    std::string seen = std::to_string(worked()) + " did their work, " + Zombies();
    Child another;
    library.start({{"/bin/true"}, {}, false}, another);
    WaitUntil(
        500, [&] { return !Runs(another.pid); }, library.turn);
    another = {};
    WaitUntil(
        200, [] { return false; }, library.turn);
    return seen + "; " + Zombies() + " after one more start";
}

std::string AskEnded(const Library& library) {
    Child child;
    if (!library.start({{"/bin/true"}, {}, false}, child).done || child.pid <= 0 ||
        !WaitUntil(3000, [&] { return !Runs(child.pid); })) {
        return "cannot be tried";
    }
    if (!child.isRunning) {
        return kNoOperation;
    }
    std::string seen = child.isRunning() ? "says that it runs" : "says that it has ended";
    if (library.turn) {
        WaitUntil(
            300, [] { return false; }, library.turn);
        seen += child.isRunning() ? "; still that it runs when its event loop has turned"
                                  : "; that it has ended when its event loop has turned";
    }
    return seen;
}

std::string WriteMegabyte(const Library& library) {
    std::string seen;
    for (const bool throughPipe : {false, true}) {
        seen += throughPipe ? "; through a pipe: " : "as started by default: ";
        const NoOutput quiet;
        const Folder folder("/tmp");
        const auto written = [&] { return Exists(folder / "written"); };
        Command command = Shell("head -c 1000000 /dev/zero && echo >" + (folder / "written"));
        command.throughPipe = throughPipe;
        Child child;
        if (!library.start(command, child).done) {
            seen += "cannot be tried";
        } else if (WaitUntil(1500, written)) {
            seen += "it writes all";
        } else if (library.turn && WaitUntil(1500, written, library.turn)) {
            seen += "it waits until the event loop turns, then writes all";
        } else {
            const long pid = child.pid;
            seen += "it waits";
            child = {};
            WaitUntil(
                1000, [&] { return !Runs(pid); }, library.turn);
            seen += written()   ? ", and writes all when its object goes"
                    : Runs(pid) ? ", also when its object has gone"
                                : ", and is killed when its object goes";
        }
    }
    return seen;
}
