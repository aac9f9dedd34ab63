#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>

#include "support/Faults.h"

/// What tests of Linux share, and the headers that most of them use.
namespace zukel::test {

/// A user who is neither root nor the one who runs the tests. Files of root's are a stranger's to
/// it.
inline const uid_t kNobody = geteuid() == 65534 ? 65533 : 65534;

/// A test in a directory in memory: nothing waits for a disk, and it is another volume than that of
/// temporary files.
struct InMemory : InDirectory {
    InMemory() : InDirectory("/dev/shm") {}
};

/// Does the work in a forked copy of the process, which then leaves.
inline void InForkedCopy(const std::function<void()>& work) {
    const pid_t copy = fork();
    if (copy == 0) {
        work();
        _exit(0);
    }
    EXPECT_EQ(waitpid(copy, nullptr, 0), copy);
}

/// Takes root's power over permissions away.
inline Guard Unprivileged() {
    const uid_t former = geteuid();
    EXPECT_EQ(seteuid(former == 0 ? kNobody : former), 0);
    return Guard([former] { EXPECT_EQ(seteuid(former), 0); });
}

/// Lets the calls of this name fail, from the `first` to the `last`; with error 0 none.
inline Guard Failing(const char* call, int error, int first = 1, int last = INT_MAX) {
    return AtCall(call, [=, made = 0]() mutable {
        ++made;
        return made >= first && made <= last ? error : 0;
    });
}

/// Makes `run` again and again, and does `meddle` before the first call of this name, then before
/// the second one, and so on, until there is no such call any more; of any call if it is empty.
inline void BeforeEachCall(const char* call, const std::function<void()>& meddle,
                           const std::function<void()>& run) {
    bool reached = true;
    for (int nth = 1; reached && !testing::Test::HasFailure(); ++nth) {
        SCOPED_TRACE(testing::Message() << "before call " << nth << " of \"" << call << '"');
        int calls = 0;
        const Guard meanwhile = AtCall(call, [&] {
            ++calls == nth ? meddle() : void();
            return 0;
        });
        run();
        reached = calls >= nth;
    }
}

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails.
inline void LimitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

/// What the files of a directory hold.
inline std::vector<std::string> TextsIn(const fs::path& directory) {
    std::vector<std::string> texts;
    for (const auto& file : fs::directory_iterator(directory)) {
        texts.push_back(ReadWhole(file.path()));
    }
    return texts;
}

}  // namespace zukel::test
