// Processes on Linux: the caller's own with its threads, and children.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

TEST(Runtime, CopiesOfTheLibraryInOneProcess_StartAndStopItInThreads) {
    constexpr int kTimes = 20000;
    const auto run = [] {
        std::vector<std::thread> threads;
        std::atomic<int> failed{0};
        for (const std::string copy : {"/copy1.dll", "/copy2.dll"}) {
            void* const module = dlopen((ZUKEL_TEST_MODULES + copy).c_str(), RTLD_NOW | RTLD_LOCAL);
            const auto use = module == nullptr ? nullptr : dlsym(module, "StartAndStop");
            if (use == nullptr) {
                std::fprintf(stderr, "%s\n", dlerror());
                _exit(2);
            }
            for (int thread = 0; thread < 2; ++thread) {
                threads.emplace_back(
                    [&failed, use] { failed += reinterpret_cast<int (*)(int)>(use)(kTimes); });
            }
        }
        std::for_each(threads.begin(), threads.end(), [](std::thread& each) { each.join(); });
        _exit(failed == 0 ? 0 : 1);
    };
    for (int trial = 0; trial < 3; ++trial) {
        EXPECT_EXIT(run(), testing::ExitedWithCode(0), "") << "trial " << trial;
    }
}

TEST(Runtime, AFailedStart_LeavesNoUserAndTheNextOneSucceeds) {
    zuString name;
    for (const bool fails : {true, false, true, false}) {
        const auto before = WhatIsHeld();
        const Guard armed = Arm({fails ? FaultSource::Runtime : FaultSource::None});
        const int status = UnderFaults([&] { return kelLibrary().GetHostName(name); });
        EXPECT_EQ(status, fails ? kFailed : kOk);
        EXPECT_EQ(fault.struck, fails ? "apr_initialize" : "");
        EXPECT_EQ(WhatIsHeld(), before) << "users of APR, its pools, blocks, descriptors";
    }
    char expected[256] = "";
    EXPECT_EQ(gethostname(expected, sizeof expected), 0);
    EXPECT_EQ(name, expected);
}

TEST(Linux, Processes_AreKilledByDescriptorsAndWhereThereAreNoneByNumbers) {
    const pid_t other = fork();  // a child of somebody else's
    if (other == 0) {
        _exit(0);
    }
    for (const std::string call : {"kill", "syscall", "fstatfs"}) {
        const bool lacks = call != "kill";  // as older systems and sandboxes do
        int calls = 0;
        const Guard special = AtCall(call.c_str(), [&] { return ++calls, lacks ? ENOSYS : 0; });
        const Guard all = Counting(true);
        for (const bool detach : {true, false}) {
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, detach), kOk);
            const int pid = process.GetPid();
            EXPECT_EQ(getsid(pid), detach ? pid : getsid(0));
            EXPECT_TRUE(process.IsRunning() && kelProcess::IsRunning(pid));
            EXPECT_EQ(detach ? process.Kill() : kelProcess::NativeKill(pid), kOk);
            EXPECT_TRUE(Ends(process) && (lacks || calls == 0 || !detach)) << "by the number";
        }
        EXPECT_TRUE(kelProcess::IsRunning(getpid()) && !kelProcess::IsRunning(0x7FFFFFFF));
        EXPECT_EQ(kelProcess::NativeKill(0x7FFFFFFF), kFailed);
        const Guard user = Unprivileged();
        EXPECT_TRUE(kelProcess::IsRunning(1)) << "of another user";
    }
    EXPECT_EQ(waitpid(other, nullptr, 0), other) << "nobody else's to collect";
    EXPECT_TRUE(AllCollected());
}

TEST(Linux, NumbersThatMeanGroups_NeverReachTheSystem) {
    const Guard all = Arm({FaultSource::System});
    for (const int pid : {0, -1, -2, -0x7FFFFFFF - 1}) {
        UnderFaults([&] {
            EXPECT_TRUE(!kelProcess::IsRunning(pid) && kelProcess::NativeKill(pid) == kFailed);
        });
    }
    EXPECT_EQ(fault.calls, 0);
}

}  // namespace
