#include "support/System.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace zukel::test {

Unprivileged::Unprivileged() : dropped_(geteuid() == 0) {
    constexpr uid_t kNobody = 65534;
    if (dropped_) {
        EXPECT_EQ(seteuid(kNobody), 0);
    }
}

Unprivileged::~Unprivileged() {
    if (dropped_) {
        EXPECT_EQ(seteuid(0), 0);
    }
}

FileSizeLimit::FileSizeLimit(unsigned long long bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FileSizeLimit::~FileSizeLimit() {
    const rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

std::set<int> InheritedDescriptors() {
    std::set<int> inherited;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        const int flags = fcntl(descriptor, F_GETFD);
        if (flags != -1 && (flags & FD_CLOEXEC) == 0) {
            inherited.insert(descriptor);
        }
    }
    return inherited;
}

}  // namespace zukel::test
