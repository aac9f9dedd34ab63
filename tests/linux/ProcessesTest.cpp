// Processes on Linux: where calls are refused, signals ignored and programs busy.

#include <bitset>

#include "linux/Users.h"

using namespace zukel::test;

using Processes = InDirectory;

/// Lets a system call fail, as older systems and sandboxes make it, while the work is done.
static void Refusing(const char* call, int error, const std::function<void()>& work) {
    SCOPED_TRACE(call + std::string(": ") + std::strerror(error));
    const Guard refused = Failing(call, error);
    UnderFaults(work);
}

TEST_F(Processes, AreKilledByDescriptorsAndWhereThoseAreRefusedByNumbers) {
    const pid_t other = fork();  // a child of somebody else's
    if (other == 0) {
        _exit(0);
    }
    const struct {
        const char* call;
        int error;
        int first;  ///< Of the calls after the start that fail; 0: those of the start as well.
    } rows[] = {{"kill", EPERM, 0},     {"fstatfs", ENOSYS, 0}, {"syscall", ENOSYS, 0},
                {"syscall", EPERM, 0},  {"syscall", EACCES, 0}, {"syscall", EPERM, 1},
                {"syscall", ENOSYS, 1}, {"syscall", EACCES, 1}, {"syscall", EPERM, 2},
                {"syscall", ENOSYS, 2}};
    for (const auto& row : rows) {
        for (const bool detach : {true, false}) {
            SCOPED_TRACE(testing::Message()
                         << row.call << ": " << std::strerror(row.error) << " from call "
                         << row.first << (detach ? ", Kill" : ", NativeKill"));
            const Guard all = Counting(true);
            const Guard before = Failing(row.call, row.first == 0 ? row.error : 0);
            kelProcess process;
            ASSERT_EQ(process.Start("sleep", {"30"}, detach), kOk) << process.GetLastError();
            const int pid = process.GetPid();
            EXPECT_EQ(getsid(pid), detach ? pid : getsid(0));
            EXPECT_TRUE(process.IsRunning());
            EXPECT_TRUE(kelProcess::IsRunning(pid));
            const Guard after = Failing(row.call, row.error, row.first);
            EXPECT_EQ(detach ? process.Kill() : kelProcess::NativeKill(pid), kOk);
            EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
            EXPECT_FALSE(process.IsRunning());
        }
    }
    EXPECT_EQ(waitpid(other, nullptr, 0), other) << "not the library's to reap";
    EXPECT_TRUE(AllReaped());
}

TEST_F(Processes, AreWaitedForWithDescriptorsAndWithout) {
    kelProcessOptions shell, slow;
    shell.command = slow.command = "sh";
    shell.arguments = {"-c", "sleep 0.1; exit 3"}, slow.arguments = {"-c", "sleep 30 & wait"};
    for (const int error : {0, ENOSYS, EPERM}) {
        Refusing("syscall", error, [&] {
            kelProcess process;
            ASSERT_EQ(process.Start(shell), kOk) << process.GetLastError();
            EXPECT_EQ(process.Wait(1000), kelStatusTimedOut);
            int code = -1, ran = -1;
            EXPECT_THAT(Statuses({process.Wait(-1), process.GetExitCode(code)}), Each(kOk));
            EXPECT_EQ(code, 3);
            zuString output, errors;
            EXPECT_EQ(kelProcess::Run(shell, "", output, errors, ran, -1), kOk);
            EXPECT_EQ(ran, 3);
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(kelProcess::Run(slow, "", output, errors, ran, 50000), kelStatusTimedOut);
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        });
    }
    EXPECT_TRUE(AllReaped());
}

TEST_F(Processes, OfOthersAreSeenByDescriptorsAndByNumbers) {
    const auto asNobody = [] {
        setresuid(kNobody, kNobody, kNobody);
        _exit(kelProcess::IsRunning(1));
    };
    const struct {
        int error;  ///< Of the call for a descriptor: refused, or there is no such process.
        bool runs;
    } rows[] = {{0, true}, {ENOSYS, true}, {ESRCH, false}, {EINVAL, false}, {ENOENT, false}};
    for (const auto& row : rows) {
        Refusing("syscall", row.error, [&] {
            EXPECT_EQ(kelProcess::IsRunning(getpid()), row.runs);
            EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
            EXPECT_EQ(kelProcess::NativeKill(0x7FFFFFFF), kFailed);
            EXPECT_EXIT(asNobody(), testing::ExitedWithCode(row.runs), "") << "of another user";
        });
    }
}

TEST_F(Processes, AreNotStartedWithoutADescriptorAndSentNothingAfterTheirEnd) {
    kelProcess process;
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        Refusing("syscall", error, [&] { EXPECT_EQ(process.Start("true", false), kFailed); });
        EXPECT_EQ(process.GetLastError(), std::strerror(error));
    }
    ASSERT_EQ(process.Start("true", false), kOk);
    EXPECT_EQ(process.GetLastError(), "") << "of the earlier start";
    ASSERT_TRUE(Ends(process));
    const Guard all = Arm({FaultSource::System});
    EXPECT_EQ(UnderFaults([&] { return process.Kill(); }), kFailed);
    EXPECT_EQ(process.GetLastError(), std::strerror(ESRCH));
    EXPECT_EQ(fault.struck, "") << "was called";
}

TEST_F(Processes, ThatEndBeforeASignal_AreNotSentItByTheirNumber) {
    kelProcess process;
    ASSERT_EQ(process.Start("sleep", {"30"}, false), kOk);
    const int pid = process.GetPid();
    EXPECT_EXIT(_exit(process.IsRunning()), testing::ExitedWithCode(1), "") << "in a forked copy";
    const Guard ends = AtCall("syscall", [pid] {  // and a sandbox refuses the signal
        siginfo_t child{};
        EXPECT_EQ(kill(pid, SIGKILL), 0);
        EXPECT_EQ(waitid(P_PID, id_t(pid), &child, WEXITED | WNOWAIT), 0);
        return EPERM;
    });
    EXPECT_EQ(UnderFaults([&] { return process.Kill(); }), kFailed);
    EXPECT_EQ(process.GetLastError(), std::strerror(ESRCH));
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
    const std::bitset<64> ignored(std::stoull(ReadWhole("out").substr(7), nullptr, 16));
    EXPECT_FALSE(ignored[SIGCHLD - 1]) << ignored;
    EXPECT_TRUE(ignored[SIGUSR1 - 1]) << ignored;
}

TEST_F(Processes, OfProgramsThatAreBusyAndThroughSignals_AreTriedAgain) {
    const std::string script = directory.Write("script"),
                      alien = directory.Write("alien", {"\x7f\0\n", 3});
    fs::permissions(script, fs::perms::owner_all), fs::permissions(alien, fs::perms::owner_all);
    const struct {
        std::string program;
        const char* call;
        int error, failures;  ///< Of the first calls.
        int status, reason;
    } rows[] = {{"true", "posix_spawnp", ETXTBSY, 3, kOk, 0},
                {"true", "posix_spawnp", ETXTBSY, 1000, kFailed, ETXTBSY},
                {script, "posix_spawn", ETXTBSY, 3, kOk, 0},
                {script, "posix_spawn", ETXTBSY, 1000, kFailed, ETXTBSY},
                {alien, "open", EINTR, 1, kFailed, ENOEXEC},  // of another machine: no script
                {alien, "read", EINTR, 1, kFailed, ENOEXEC}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program + ": " + row.call + " fails " + std::to_string(row.failures));
        int calls = 0;
        const Guard busy = AtCall(row.call, [&] { return ++calls > row.failures ? 0 : row.error; });
        kelProcess process;
        EXPECT_EQ(UnderFaults([&] { return process.Start(row.program, false); }), row.status);
        EXPECT_EQ(process.GetLastError(), row.reason == 0 ? "" : std::strerror(row.reason));
        EXPECT_GT(calls, 1) << "not made again";
        EXPECT_LT(calls, 20) << "made again for ever";
        EXPECT_TRUE(Ends(process));
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
