// Processes on Linux: where calls are refused, signals ignored and programs busy.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

using Processes = InDirectory;

/// Lets a system call fail, as older systems and sandboxes make it, while the work is done.
void Refusing(const char* call, int error, const std::function<void()>& work) {
    SCOPED_TRACE(call + std::string(": ") + std::strerror(error));
    const Guard refused = AtCall(call, [error] { return error; });
    const Guard all = Counting(true);
    work();
}

TEST_F(Processes, AreKilledByDescriptorsAndWhereThoseAreRefusedByNumbers) {
    const pid_t other = fork();  // a child of somebody else's
    if (other == 0) {
        _exit(0);
    }
    const struct {
        const char* call;
        int error;
        int from;  ///< Of the calls after the start; -1: those of the start as well.
    } rows[] = {{"kill", EPERM, -1},    {"fstatfs", ENOSYS, -1}, {"syscall", ENOSYS, -1},
                {"syscall", EPERM, -1}, {"syscall", EACCES, -1}, {"syscall", EPERM, 0},
                {"syscall", ENOSYS, 0}, {"syscall", EACCES, 0},  {"syscall", EPERM, 1},
                {"syscall", ENOSYS, 1}};
    for (const auto& [call, error, from] : rows) {
        for (const bool detach : {true, false}) {
            SCOPED_TRACE(call + std::string(": ") + std::strerror(error) + " from call " +
                         std::to_string(from) + (detach ? ", Kill" : ", NativeKill"));
            int calls = 0;
            bool started = false;
            const Guard refused = AtCall(call, [&, error = error, from = from] {
                return from == -1 || (started && calls++ >= from) ? error : 0;
            });
            const Guard all = Counting(true);
            kelProcess process;
            ASSERT_EQ(process.Start("sleep", {"30"}, detach), kOk) << process.GetLastError();
            const int pid = process.GetPid();
            EXPECT_EQ(getsid(pid), detach ? pid : getsid(0));
            EXPECT_TRUE(process.IsRunning());
            EXPECT_TRUE(kelProcess::IsRunning(pid));
            started = true;
            EXPECT_EQ(detach ? process.Kill() : kelProcess::NativeKill(pid), kOk);
            EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
            EXPECT_FALSE(process.IsRunning());
        }
    }
    EXPECT_EQ(waitpid(other, nullptr, 0), other) << "not the library's to reap";
    EXPECT_TRUE(AllReaped());
}

TEST_F(Processes, AreWaitedForWithDescriptorsAndWithout) {
    kelProcessOptions shell;
    shell.command = "sh";
    for (const int error : {0, ENOSYS, EPERM}) {
        SCOPED_TRACE(std::strerror(error));
        const Guard refused = AtCall("syscall", [error] { return error; });
        const Guard all = Counting(true);
        kelProcess process;
        shell.arguments = {"-c", "sleep 0.1; exit 3"};
        ASSERT_EQ(process.Start(shell), kOk) << process.GetLastError();
        kelProcess copy(process);
        EXPECT_EQ(process.Wait(1000), kelStatusTimedOut);
        EXPECT_EQ(process.Wait(-1), kOk);
        int code = -1;
        EXPECT_EQ(copy.Wait(0), kOk);
        EXPECT_EQ(copy.GetExitCode(code), kOk);
        EXPECT_EQ(code, 3);
        zuString output, errors;
        EXPECT_EQ(kelProcess::Run(shell, "", output, errors, code = -1, -1), kOk);
        EXPECT_EQ(code, 3);
        shell.arguments = {"-c", "sleep 30 & wait"};
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(kelProcess::Run(shell, "", output, errors, code, 50000), kelStatusTimedOut);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
    EXPECT_TRUE(AllReaped());
}

TEST_F(Processes, OfOthersAreSeenByDescriptorsAndByNumbers) {
    for (const int error : {0, ENOSYS}) {
        Refusing("syscall", error, [] {
            EXPECT_TRUE(kelProcess::IsRunning(getpid()));
            EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
            EXPECT_EQ(kelProcess::NativeKill(0x7FFFFFFF), kFailed);
            EXPECT_EXIT(
                _exit(setresuid(kNobody, kNobody, kNobody) == 0 && kelProcess::IsRunning(1)),
                testing::ExitedWithCode(geteuid() == 0 ? 1 : 0), "")
                << "of another user";
        });
    }
}

TEST_F(Processes, AreNotStartedWithoutADescriptorForThem) {
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        Refusing("syscall", error, [error] {
            kelProcess process;
            EXPECT_EQ(process.Start("true", false), kFailed);
            EXPECT_EQ(process.GetLastError(), std::strerror(error));
            EXPECT_EQ(process.GetPid(), -1);
        });
    }
}

TEST_F(Processes, ThatHaveEnded_AreSentNothing) {
    for (const char* call : {"kill", "syscall"}) {
        kelProcess process;
        ASSERT_EQ(process.Start("true", false), kOk);
        ASSERT_TRUE(Ends(process));
        int calls = 0;
        const Guard counted = AtCall(call, [&] { return ++calls, EPERM; });
        EXPECT_EQ(UnderFaults([&] { return process.Kill(); }), kFailed);
        EXPECT_EQ(process.GetLastError(), std::strerror(ESRCH));
        EXPECT_EQ(calls, 0) << call << " was made";
    }
}

TEST_F(Processes, EndWhereTheProgramIgnoresItsChildrenAndDoNotIgnoreTheirOwn) {
    std::signal(SIGCHLD, SIG_IGN);
    std::signal(SIGUSR1, SIG_IGN);
    for (const int error : {0, ENOSYS}) {
        Refusing("syscall", error, [] {
            kelProcess process;
            ASSERT_EQ(process.Start("grep", {"SigIgn", "/proc/self/status"}, "", {"out"}, false),
                      kOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(process.Kill(), kFailed);
            EXPECT_EQ(process.GetLastError(), std::strerror(ESRCH));
        });
    }
    std::signal(SIGUSR1, SIG_DFL);
    std::signal(SIGCHLD, SIG_DFL);
    const auto ignored = std::stoull(ReadWhole("out").substr(7), nullptr, 16);
    EXPECT_EQ(ignored >> (SIGCHLD - 1) & 1U, 0U) << std::hex << ignored;
    EXPECT_EQ(ignored >> (SIGUSR1 - 1) & 1U, 1U) << std::hex << ignored;
}

TEST_F(Processes, OfProgramsThatAreStillWritten_StartAsSoonAsTheyCan) {
    const std::string program = directory.Write("program"), script = directory.Write("script");
    fs::copy_file("/bin/true", program, fs::copy_options::overwrite_existing);
    fs::permissions(program, fs::perms::owner_all), fs::permissions(script, fs::perms::owner_all);
    for (const auto& [name, call] : {std::pair{program, "posix_spawnp"}, {script, "posix_spawn"}}) {
        for (const int last : {1, 4, 1000}) {  // the start before which the writer lets go
            SCOPED_TRACE(name + ", " + std::to_string(last));
            int writer = name == program ? open(program.c_str(), O_WRONLY | O_CLOEXEC) : -1;
            int starts = 0;
            const Guard spawned = AtCall(call, [&, busy = name == script] {
                ++starts;
                if (starts == last && writer != -1) {
                    close(std::exchange(writer, -1));
                }
                return busy && starts < last ? ETXTBSY : 0;
            });
            kelProcess process;
            const int status =
                UnderFaults([&, &name = name] { return process.Start(name, false); });
            EXPECT_EQ(status, last < 1000 ? kOk : kFailed) << process.GetLastError();
            EXPECT_EQ(process.GetLastError(), last < 1000 ? "" : std::strerror(ETXTBSY));
            EXPECT_LT(starts, 20);
            EXPECT_TRUE(Ends(process));
            if (writer != -1) {
                close(writer);
            }
        }
    }
}

TEST_F(Processes, OfAProgramForAnotherMachine_AreNoScriptsWhateverSignalsCome) {
    const std::string alien = directory.Write("alien", {"\x7f\0\n", 3});
    fs::permissions(alien, fs::perms::owner_all);
    for (const char* call : {"open", "read"}) {
        int signals = 1;
        const Guard interrupted = AtCall(call, [&] { return signals-- > 0 ? EINTR : 0; });
        kelProcess process;
        EXPECT_EQ(UnderFaults([&] { return process.Start(alien, false); }), kFailed) << call;
        EXPECT_EQ(process.GetLastError(), std::strerror(ENOEXEC)) << call;
        EXPECT_LT(signals, 0) << call << " was not made again";
    }
}

TEST_F(Processes, NumbersThatMeanGroups_NeverReachTheSystem) {
    const Guard all = Arm({FaultSource::System});
    for (const int pid : {0, -1, -2, -0x7FFFFFFF - 1}) {
        UnderFaults([&] {
            EXPECT_FALSE(kelProcess::IsRunning(pid)) << pid;
            EXPECT_EQ(kelProcess::NativeKill(pid), kFailed) << pid;
        });
    }
    EXPECT_EQ(fault.calls, 0);
}

}  // namespace
