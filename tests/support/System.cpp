#include "support/System.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace zukel::test {

Guard WorkingDirectory(const std::string& path) {
    const auto former = std::filesystem::current_path();
    std::filesystem::current_path(path);
    return Guard([former] { std::filesystem::current_path(former); });
}

Guard Unprivileged() {
    constexpr uid_t kNobody = 65534;
    const uid_t former = geteuid();
    EXPECT_EQ(seteuid(former == 0 ? kNobody : former), 0);
    return Guard([former] { EXPECT_EQ(seteuid(former), 0); });
}

Guard FileSizeLimit(unsigned long long bytes) {
    const auto limit = [](rlim_t most) {
        const rlimit both{most, RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &both), 0);
    };
    std::signal(SIGXFSZ, SIG_IGN);
    limit(bytes);
    return Guard([limit] { limit(RLIM_INFINITY); });
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
