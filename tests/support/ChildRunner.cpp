#include "support/ChildRunner.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <thread>

#include "kelStatus.h"

namespace zukel::test {

namespace {

bool Until(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace

void InChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    const bool ended =
        Until([&] { return waitpid(child, &status, WNOHANG) == child; }, std::chrono::seconds(60));
    if (!ended) {
        kill(child, SIGKILL);  // still ours: it has not been collected
        waitpid(child, nullptr, 0);
    }
    EXPECT_TRUE(ended) << "the child took too long";
    EXPECT_EQ(status, 0) << "a check in the child failed, or it crashed";
}

bool Eventually(const std::function<bool()>& condition) {
    return Until(condition, std::chrono::seconds(10));
}

std::size_t Descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

bool Ends(const kelProcess& process) {
    return Eventually([&] { return !process.IsRunning(); });
}

void ExpectIdle(kelProcess& process, const std::string& text, const char* why) {
    EXPECT_EQ(process.GetPid(), -1) << why;
    EXPECT_FALSE(process.IsRunning()) << why;
    EXPECT_EQ(process.GetLastError(), text) << why;
    EXPECT_EQ(process.Kill(), kelStatusFailed) << why;
    EXPECT_EQ(process.GetLastError(), "") << why;
}

int CollectZombies() {
    int zombies = 0;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
        ++zombies;
    }
    return zombies;
}

bool HasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

pid_t ForkAs(pid_t pid) {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
    arguments.set_tid_size = 1;
    const auto made = static_cast<pid_t>(syscall(SYS_clone3, &arguments, sizeof arguments));
    if (made == 0) {
        pause();
        _exit(0);
    }
    return made;
}

bool InOwnNumbers(const std::function<void()>& body) {
    if (unshare(CLONE_NEWPID) != 0) {
        return false;
    }
    InChild(body);
    return true;
}

bool Withhold(int call, int error, int first) {
    const auto number = static_cast<std::uint32_t>(call);
    const auto argument = static_cast<std::uint32_t>(first);
    const std::uint32_t answer = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error);
    const auto unless = static_cast<std::uint8_t>(first == -1 ? 0 : 1);
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument, 0, unless),
        BPF_STMT(BPF_RET | BPF_K, answer),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{static_cast<unsigned short>(std::size(program)), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

}  // namespace zukel::test
