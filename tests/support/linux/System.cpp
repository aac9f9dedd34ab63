#include "support/System.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>

/// Of the coverage build: `_exit` would lose what the child has counted.
extern "C" void __gcov_dump() __attribute__((weak));

namespace zukel::test {

const bool kOnWindows = false;
const char* const kOddName = "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD \xFF\xED\xA0\x80";
const char* const kNullDevice = "/dev/null";
const char* const kPathSeparator = ":";

bool MakeLink(const std::string& target, const std::string& name) {
    std::filesystem::create_symlink(target, name);
    return true;
}

bool MakePipeAndSocket(const std::string& pipe, const std::string& socket) {
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
    return true;
}

unsigned ModeOf(const std::string& path) {
    return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

unsigned SetUmask(unsigned bits) {
    return umask(bits);
}

void SetTimes(const std::string& path, std::int64_t access, std::int64_t change) {
    constexpr std::int64_t kSecond = 1000000000;
    timespec times[2];
    for (const auto& [at, time] : {std::pair{&times[0], access}, {&times[1], change}}) {
        const std::int64_t rest = (time % kSecond + kSecond) % kSecond;
        *at = {(time - rest) / kSecond, rest};
    }
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

std::string UserName() {
    return getpwuid(getuid())->pw_name;
}

std::string HomeDirectory() {
    return getpwuid(getuid())->pw_dir;
}

unsigned long long MachineMemory() {
    return static_cast<unsigned long long>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
}

int Processors() {
    return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
}

int SessionOf(int pid) {
    return getsid(pid);
}

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

void LetTheLimitEndTheProcess() {
    std::signal(SIGXFSZ, SIG_DFL);
}

Guard FrequentSignals() {
    const auto every = [](suseconds_t time) {
        const itimerval often{{0, time}, {0, time}};
        EXPECT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
    };
    std::signal(SIGALRM, [](int) {});
    every(1000);
    return Guard([every] { every(0); });
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

void InChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        alarm(60);
        body();
        std::fflush(nullptr);
        if (__gcov_dump != nullptr) {
            __gcov_dump();
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "a check in the child failed, it crashed, or it took too long";
}

OtherChild::OtherChild() : pid_(fork()) {
    if (pid_ == 0) {
        _exit(7);
    }
}

int OtherChild::Collect() {
    int status = 0;
    EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
    return WEXITSTATUS(status);
}

bool HasNoChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
}

}  // namespace zukel::test
