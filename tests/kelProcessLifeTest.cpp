#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "kelProcess.h"
#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

// The life of a child after its start, and what is collected of it.

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

TEST(kelProcess, States_FollowTheTable) {
    kelProcess process;
    ExpectIdle(process, "", "new");
    EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
    const int first = process.GetPid();
    EXPECT_TRUE(process.IsRunning());
    EXPECT_TRUE(kelProcess::IsRunning(first));
    EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk) << "on a started object";
    EXPECT_NE(process.GetPid(), first);
    EXPECT_TRUE(kelProcess::IsRunning(first)) << "the first child runs on";
    EXPECT_EQ(kelProcess::NativeKill(first), kelStatusOk);
    EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(first); }));
    const int second = process.GetPid();
    EXPECT_EQ(process.Kill(), kelStatusOk);
    ExpectIdle(process, "", "killed");
    EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(second); }));

    EXPECT_EQ(process.Start("true", false), kelStatusOk);
    const int third = process.GetPid();
    EXPECT_TRUE(Ends(process));
    EXPECT_EQ(process.GetPid(), third) << "readable after the end";
    EXPECT_EQ(process.Kill(), kelStatusFailed) << "ended already";
    ExpectIdle(process, std::strerror(ESRCH), "killed too late");

    EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
    const int fourth = process.GetPid();
    EXPECT_EQ(process.Start("no-such-program-anywhere", false), kelStatusFailed);
    ExpectIdle(process, std::strerror(ENOENT), "a failed start forgets the earlier child as well");
    EXPECT_EQ(kelProcess::NativeKill(fourth), kelStatusOk);
}

TEST(kelProcess, Kill_MayBeIgnoredAndNativeKillNot) {
    const TemporaryDirectory directory;
    kelProcess process;
    EXPECT_EQ(process.Start("/bin/sh", {"-c", "trap '' TERM; >ready; while :; do sleep 0.1; done"},
                            directory.Path(), false),
              kelStatusOk);
    EXPECT_TRUE(Eventually([&] { return fs::exists(directory / "ready"); }));
    const int pid = process.GetPid();
    EXPECT_EQ(process.Kill(), kelStatusOk);
    ExpectIdle(process, "", "dropped although the process runs on");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(kelProcess::IsRunning(pid));
    EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusOk);
    EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
    EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusFailed) << "ended";
}

TEST(kelProcess, Copies_StandForTheSameProcess) {
    kelProcess process;
    EXPECT_EQ(process.Start("no-such-program-anywhere", false), kelStatusFailed);
    const kelProcess failed(process);
    EXPECT_EQ(kelProcess(failed).GetLastError(), std::strerror(ENOENT));
    EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
    kelProcess copy(process);
    kelProcess assigned;
    EXPECT_EQ(assigned.Start("sleep", {"30"}, false), kelStatusOk);
    const int former = assigned.GetPid();
    assigned = copy;
    const kelProcess& same = assigned;
    assigned = same;
    EXPECT_TRUE(kelProcess::IsRunning(former)) << "forgotten, not ended";
    EXPECT_EQ(kelProcess::NativeKill(former), kelStatusOk);
    EXPECT_EQ(copy.GetPid(), process.GetPid());
    EXPECT_EQ(assigned.GetPid(), process.GetPid());
    { const kelProcess gone(copy); }
    EXPECT_TRUE(process.IsRunning());
    EXPECT_EQ(assigned.Kill(), kelStatusOk);
    EXPECT_EQ(copy.GetPid(), -1) << "killed for all";
    EXPECT_EQ(process.Kill(), kelStatusFailed);
    EXPECT_EQ(kelProcess(failed).GetLastError(), std::strerror(ENOENT))
        << "the texts are their own";
}

TEST(kelProcess, IsRunning_OfAnyNumber) {
    EXPECT_TRUE(kelProcess::IsRunning(kelProcess::GetCurrentProcessPid()));
    EXPECT_EQ(kelProcess::GetCurrentProcessPid(), getpid());
    EXPECT_TRUE(kelProcess::IsRunning(getppid()));
    {
        const Unprivileged user;
        EXPECT_TRUE(kelProcess::IsRunning(1)) << "of another user";
    }
    constexpr int kAboveAll = 4 * 1024 * 1024 + 1;
    for (const int pid : {0, -1, -getpid(), kAboveAll, 0x7FFFFFFF}) {
        EXPECT_FALSE(kelProcess::IsRunning(pid)) << pid;
    }
    EXPECT_EQ(kelProcess::NativeKill(kAboveAll), kelStatusFailed);
    InChild([] {
        const pid_t child = fork();
        if (child == 0) {
            _exit(0);
        }
        siginfo_t info{};
        EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
        EXPECT_FALSE(kelProcess::IsRunning(child)) << "a zombie does not run";
        EXPECT_EQ(kelProcess::NativeKill(child), kelStatusFailed);
        EXPECT_EQ(CollectZombies(), 1) << "and is left to whoever made it";
    });
}

TEST(kelProcess, OtherChildrenOfTheProgram_AreLeftToIt) {
    InChild([] {
        const pid_t own = fork();
        if (own == 0) {
            _exit(7);
        }
        for (int number = 0; number < 100; ++number) {
            kelProcess process;
            EXPECT_EQ(process.Start("true", false), kelStatusOk);
            EXPECT_TRUE(Ends(process));
        }
        int status = 0;
        EXPECT_EQ(waitpid(own, &status, 0), own);
        EXPECT_EQ(WEXITSTATUS(status), 7);
        EXPECT_FALSE(HasChildren()) << "those of this class are collected";
    });
}

TEST(kelProcess, AProgramThatCollectsAllItsChildren_OnlyLearnsThatTheyEnded) {
    InChild([] {
        kelProcess held;
        EXPECT_EQ(held.Start("true", false), kelStatusOk);
        EXPECT_EQ(waitpid(-1, nullptr, 0), held.GetPid());
        EXPECT_FALSE(held.IsRunning());
        EXPECT_EQ(held.Kill(), kelStatusFailed);
        const std::size_t descriptors = Descriptors();
        for (int number = 0; number < 10; ++number) {
            kelProcess forgotten;
            EXPECT_EQ(forgotten.Start("sleep", {"0.01"}, false), kelStatusOk);
        }
        EXPECT_EQ(Descriptors(), descriptors) << "what runs unattended costs none";
        while (waitpid(-1, nullptr, 0) > 0) {
        }
        EXPECT_EQ(held.Start("true", false), kelStatusOk);
        EXPECT_TRUE(Ends(held));
        EXPECT_EQ(Descriptors(), descriptors);
    });
}

TEST(kelProcess, AReusedNumber_IsNeitherSignalledNorCollected) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can have a number given out again";
    }
    InChild([] {
        const bool made = InOwnNumbers([] {
            kelProcess held;
            kelProcess* const forgotten = new kelProcess;
            EXPECT_EQ(forgotten->Start("sleep", {"30"}, false), kelStatusOk);
            EXPECT_EQ(held.Start("sleep", {"30"}, false), kelStatusOk);
            const int heldPid = held.GetPid();
            const int forgottenPid = forgotten->GetPid();
            delete forgotten;
            for (const int pid : {heldPid, forgottenPid}) {
                EXPECT_EQ(kill(pid, SIGKILL), 0);
                EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
            }
            ASSERT_EQ(ForkAs(heldPid), heldPid);
            ASSERT_EQ(ForkAs(forgottenPid), forgottenPid);

            EXPECT_FALSE(held.IsRunning()) << "its process has ended";
            EXPECT_TRUE(kelProcess::IsRunning(heldPid)) << "another runs under its number";
            EXPECT_EQ(held.Kill(), kelStatusFailed);
            EXPECT_EQ(held.GetLastError(), std::strerror(ESRCH));
            EXPECT_TRUE(kelProcess::IsRunning(heldPid)) << "not signalled";

            EXPECT_EQ(kill(forgottenPid, SIGKILL), 0);
            EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(forgottenPid); }));
            for (int number = 0; number < 3; ++number) {
                EXPECT_EQ(held.Start("true", false), kelStatusOk);
                EXPECT_TRUE(Ends(held));
            }
            EXPECT_EQ(waitpid(forgottenPid, nullptr, WNOHANG), forgottenPid) << "not collected";
            EXPECT_EQ(kill(heldPid, SIGKILL), 0);
            EXPECT_EQ(waitpid(heldPid, nullptr, 0), heldPid);
        });
        EXPECT_TRUE(made);
    });
}

TEST(kelProcess, ACopyMadeByFork_SeesAndKillsTheProcess) {
    InChild([] {
        kelProcess process;
        EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
        InChild([&] {
            kelProcess own;
            EXPECT_EQ(own.Start("true", false), kelStatusOk);
            EXPECT_TRUE(process.IsRunning()) << "although no child of the copy";
            EXPECT_EQ(process.Kill(), kelStatusOk);
        });
        EXPECT_TRUE(Ends(process));
    });
}

TEST(kelProcess, WithoutProcessDescriptors_EverythingWorksByNumbers) {
    struct Case {
        int call;
        int error;
        int first;
        const char* why;
    };
    for (const Case& c : {Case{SYS_pidfd_open, ENOSYS, -1, "before Linux 5.3"},
                          Case{SYS_pidfd_open, EPERM, -1, "withheld by a sandbox"},
                          Case{SYS_waitid, EINVAL, 3, "waitid without P_PIDFD, Linux 5.3"},
                          Case{SYS_fstatfs, ENOSYS, -1, "no identities, as before Linux 6.9"}}) {
        SCOPED_TRACE(c.why);
        InChild([&] {
            const std::size_t descriptors = Descriptors();
            ASSERT_TRUE(Withhold(c.call, c.error, c.first));
            {
                kelProcess process;
                EXPECT_EQ(process.Start("sleep", {"30"}, true), kelStatusOk);
                const int first = process.GetPid();
                EXPECT_TRUE(process.IsRunning());
                EXPECT_TRUE(kelProcess::IsRunning(first));
                EXPECT_EQ(process.Kill(), kelStatusOk);
                EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(first); }));
                EXPECT_EQ(process.Start("true", false), kelStatusOk);
                EXPECT_TRUE(Ends(process));
                EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
                EXPECT_EQ(kelProcess::NativeKill(process.GetPid()), kelStatusOk);
                EXPECT_TRUE(Ends(process));
                EXPECT_EQ(process.Kill(), kelStatusFailed);
                EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
                EXPECT_TRUE(kelProcess::IsRunning(getppid()));
            }
            EXPECT_FALSE(HasChildren()) << "all are collected";
            EXPECT_EQ(Descriptors(), descriptors);
        });
    }
}

TEST(kelProcess, WithoutAFreeDescriptor_NothingIsStarted) {
    InChild([] {
        kelProcess process;
        std::vector<int> taken;
        for (int taken1 = dup(1); taken1 != -1 && taken.size() < 100000; taken1 = dup(1)) {
            taken.push_back(taken1);
        }
        EXPECT_EQ(process.Start("true", false), kelStatusFailed);
        ExpectIdle(process, std::strerror(EMFILE), "no descriptor");
        EXPECT_FALSE(HasChildren());
        close(taken.back());
        EXPECT_EQ(process.Start("true", false), kelStatusOk) << "one is enough";
        EXPECT_TRUE(Ends(process));
    });
}

/// The children of this process, ended or not.
std::vector<int> Children() {
    std::vector<int> children;
    for (const auto& entry : fs::directory_iterator("/proc/self/task")) {
        std::ifstream list(entry.path() / "children");
        EXPECT_TRUE(list.is_open());
        for (int pid = 0; list >> pid;) {
            children.push_back(pid);
        }
    }
    return children;
}

/// Starts many short programs in all threads at once and destroys their objects at once.
void Storm(int threads, int each, bool detach, bool keep) {
    InChild([=] {
        std::vector<kelProcess> kept(static_cast<std::size_t>(keep ? threads * each : 0));
        const std::size_t descriptors = Descriptors();
        const auto work = [&](int number) {
            for (int round = 0; round < each; ++round) {
                kelProcess local;
                kelProcess& process =
                    keep ? kept[static_cast<std::size_t>(number * each + round)] : local;
                EXPECT_EQ(process.Start("true", detach), kelStatusOk) << process.GetLastError();
            }
        };
        std::vector<std::thread> workers;
        for (int number = 1; number < threads; ++number) {
            workers.emplace_back(work, number);
        }
        work(0);
        for (std::thread& worker : workers) {
            worker.join();
        }
        const std::vector<int> left = Children();
        EXPECT_LE(left.size(), 100U) << "only those that ran to the last can be left";
        EXPECT_TRUE(Eventually([&] {
            return std::none_of(left.begin(), left.end(),
                                [](int pid) { return kelProcess::IsRunning(pid); });
        }));
        for (int more = 0; more < 2; ++more) {
            kelProcess process;
            EXPECT_EQ(process.Start("true", false), kelStatusOk);
            EXPECT_TRUE(Ends(process));
        }
        EXPECT_EQ(CollectZombies(), 0) << "two more starts have collected them";
        for (const kelProcess& process : kept) {
            EXPECT_FALSE(process.IsRunning());
        }
        EXPECT_EQ(Descriptors(), descriptors);
    });
}

TEST(kelProcess, AThousandShortPrograms_LeaveNoZombies) {
    Storm(1, 1000, false, false);
}

TEST(kelProcess, AThousandShortProgramsFromEightThreads_LeaveNoZombies) {
    Storm(8, 125, true, false);
    Storm(8, 25, false, true);
}

}  // namespace
