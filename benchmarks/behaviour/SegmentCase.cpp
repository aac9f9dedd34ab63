// A shared segment that outlives its maker.

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "Cases.h"

namespace {
constexpr std::size_t kSegmentSize = 65536;
}  // namespace

int OwnSegment(const Library& library, const char* name) {
    Segment segment;
    if (!library.create(name, kSegmentSize, segment).done) {
        return 1;
    }
    std::strcpy(segment.address, "of the killed");
    std::puts("ready");
    std::fflush(stdout);
    pause();
    return 0;
}

namespace {

/// Lets another process make the segment, and kills it. @returns whether there was a segment.
bool KillOwner(const std::string& name) {
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    const pid_t owner = fork();
    if (owner == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execl("/proc/self/exe", "behaviour", "--own", name.c_str(), nullptr);
        _exit(1);
    }
    close(ends[1]);
    char ready = 0;
    const bool owned = owner > 0 && read(ends[0], &ready, 1) == 1;
    close(ends[0]);
    if (owner > 0) {
        kill(owner, SIGKILL);
        waitpid(owner, nullptr, 0);
    }
    return owned;
}

std::string Create(const Library& library, const std::string& name) {
    Segment segment;
    const bool made = library.create(name, kSegmentSize, segment).done;
    return !made                      ? "refuses"
           : *segment.address == '\0' ? "gives a new one"
                                      : "gives the old one as new";
}

void RemoveFiles(const std::string& name) {
    shm_unlink(("/" + name).c_str());
    unlink(("/tmp/" + name).c_str());
}

}  // namespace

std::string OwnerKilled(const Library& library) {
    if (!library.create) {
        return kNoOperation;
    }
    const std::string name = "behaviour-" + std::to_string(getpid());
    if (!KillOwner(name)) {
        return "cannot be tried";
    }
    std::string seen = "create " + Create(library, name);
    if (library.clear) {
        seen += library.clear(name).done ? ", clear says done" : ", clear refuses";
        seen += ", then create " + Create(library, name);
    }
    RemoveFiles(name);
    Segment segment;
    const std::string second = name + "-2";
    const bool found = KillOwner(second) && library.attach(second, kSegmentSize, segment).done;
    seen += found ? "; attach finds what it held" : "; attach refuses";
    segment = {};
    if (library.clear) {
        library.clear(second);
    }
    RemoveFiles(second);
    return seen;
}
