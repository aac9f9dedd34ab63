// Operations of every class on Linux: in several copies of the library, on the least stack, in
// threads that are cancelled, and in a sandbox; and figures beside those that the system tells.

#include <dlfcn.h>
#include <grp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

/// The thread sanitizer does not know the lock that guards this for one of threads.
TEST(Runtime, CopiesOfTheLibraryInOneProcess_StartAndStopItAtTheSameTime) {
    const auto run = [] {
        std::vector<std::thread> threads;
        std::atomic<int> failed{0};
        for (const std::string copy : {"/copy1.dll", "/copy2.dll"}) {
            void* const module = dlopen((ZUKEL_TEST_MODULES + copy).c_str(), RTLD_NOW | RTLD_LOCAL);
            const auto use = reinterpret_cast<int (*)(int)>(dlsym(module, "StartAndStop"));
            for (int thread = 0; thread < 2; ++thread) {
                threads.emplace_back([&failed, use] { failed += use(20000); });
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
        EXPECT_EQ(UnderFaults([&] { return kelLibrary().GetHostName(name); }),
                  fails ? kFailed : kOk);
        EXPECT_EQ(fault.struck, fails ? "apr_initialize" : "");
        EXPECT_EQ(WhatIsHeld(), before) << "users of APR, its pools, blocks, descriptors";
    }
    char expected[256] = "";
    EXPECT_EQ(gethostname(expected, sizeof expected), 0);
    EXPECT_EQ(name, expected);
}

/// An operation; false when it fails.
struct Operation {
    const char* what;
    std::function<bool()> call;
};
#define OPERATION(...)                                      \
    {                                                       \
#__VA_ARGS__, [&]() -> bool { return __VA_ARGS__; } \
    }

/// Runs the operation in a thread, and in a process of its own, which it may end. The process ends
/// with 0 when the operation has succeeded and the thread has ended as expected.
///
/// @param cancelled whether the thread is cancelled before the operation begins.
[[noreturn]] void RunInThread(const Operation& operation, std::size_t stack, bool cancelled) {
    static const Operation* running = nullptr;
    static bool cancels = false, succeeded = false;
    running = &operation, cancels = cancelled;
    const auto body = [](void*) -> void* {
        cancels ? pthread_cancel(pthread_self()) : 0;
        succeeded = running->call();
        pthread_testcancel();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    void* result = nullptr;
    pthread_attr_init(&attributes);
    const bool ran = pthread_attr_setstacksize(&attributes, stack) == 0 &&
                     pthread_create(&thread, &attributes, body, nullptr) == 0 &&
                     pthread_join(thread, &result) == 0;
    _exit(ran && succeeded && result == (cancelled ? PTHREAD_CANCELED : nullptr) ? 0 : 1);
}

// Instrumented code takes several times the stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kLeastStack = 1 << 20;
#else
constexpr std::size_t kLeastStack = 16 << 10;
#endif

TEST(Operations, RunInThreads_OfTheLeastStackAndOfThoseThatAreCancelled) {
    const TemporaryDirectory place, beyond("/dev/shm");
    const std::string file = place.Write("file", "a line\nand another one\n"), to = place / "to";
    const std::string script = place.Write("script", "exit 0"), segment = place / "segment";
    fs::permissions(script, fs::perms::owner_all);
    kelMemoryInfo memory;
    zuDiskInfo disk;
    zuString text;
    char line[80];
    kelSharedMemory owner, other;
    kelProcess process;
    kelProcessOptions shell, cat;
    shell.command = "sh", shell.arguments = {"-c", "cat; echo error >&2; exit 3"};
    cat.command = "cat", cat.input = cat.output = {kelProcessOptions::StreamPipe, {}};
    zuString output, errors;
    int code = -1;
    long long length = 0;
    unsigned long long size = 4;
    zuStlVector<zuString> names;
    kelFile open(file, kReadWrite);
    ASSERT_EQ(owner.Create(100, segment), kOk);
    const Operation operations[] = {
        OPERATION((kelSystem::GetMemoryDetails(memory), memory.totalPhysical > 0)),
        OPERATION(kelSystem::GetFreeDiskSpace("/", disk)),
        OPERATION(kelSharedMemory().Create(40 << 20, segment + "2") == kOk),
        OPERATION(other.Attach(segment) == kOk),
        OPERATION(kelSharedMemory().Create(100, segment) == kFailed),
        OPERATION(other.Create(100, to) == kOk && kelSharedMemory().Remove(to) == kOk),
        OPERATION(kelProcess().Start("true", {"x"}, "/", true) == kOk),
        OPERATION(kelProcess().Start(script, false) == kOk),
        OPERATION(kelProcess().Start("no-such-program", false) == kFailed),
        OPERATION(process.Start("sleep", {"30"}, false) == kOk && process.Kill() == kOk),
        OPERATION(process.Start("true", false) == kOk && process.Wait(-1) == kOk &&
                  process.GetExitCode(code) == kOk && code == 0),
        OPERATION(process.Start("sleep", {"30"}, false) == kOk &&
                  process.Wait(1000) == kelStatusTimedOut && process.Kill() == kOk &&
                  process.Wait(-1) == kOk && process.GetSignal(code) == kOk && code == SIGTERM),
        OPERATION(kelProcess::Run(shell, file, output, errors, code, -1) == kOk && output == file &&
                  errors == "error\n" && code == 3),
        OPERATION(process.Start(cat) == kOk && process.WriteInput("text", 4) == kOk &&
                  process.ReadOutput(line, size) == kOk && size == 4 &&
                  process.CloseInput() == kOk && process.Wait(-1) == kOk),
        OPERATION(kelProcess::IsRunning(getpid()) && !process.IsRunning()),
        OPERATION(kelLibrary().GetHostName(text) == kOk),
        OPERATION(kelTime::GetNow().GetFormatTime(text, "%Y %B %d %H:%M:%S") == kOk),
        OPERATION(kelCPUInfo::GetNumProcessors() > 0),
        OPERATION(kelProcess().Start("true", {"x"}, "/", {to}, true) == kOk),
        OPERATION(kelFile(file, kReadWrite | kBuffered).ReadLine(line, sizeof line) == kOk),
        OPERATION(kelFile(to, kWrite | kBuffered).WriteLine("text") == kOk),
        OPERATION(kelFile().CreateTemporaryFile(to + "XXXXXX") == kOk),
        OPERATION(kelFile::Copy(file, to, 0x644) == kOk),
        OPERATION(kelFile::NativeCopy(file, to, 0) == kOk),
        OPERATION(kelFile::SetPermissions(to, 0x600) == kOk &&
                  kelFile::Rename(to, to + "2") == kOk &&
                  kelFile::Rename(to + "2", beyond / "to") == kOk &&
                  kelFile::Delete(beyond / "to") == kOk && kelFile::Copy(file, to, 0x644) == kOk),
        OPERATION(kelFile::ReplaceWhole(to, file) == kOk && kelFile::ReadWhole(to, text) == kOk &&
                  text == file),
        OPERATION(kelFile::RenameNew(file, to) == kelStatusExists),
        OPERATION(open.Lock(kelFile::LockExclusive, 0) == kOk && open.Unlock() == kOk),
        OPERATION(open.WriteAt(2, "line", size) == kOk && open.ReadAt(0, line, size) == kOk &&
                  open.Sync() == kOk && open.SetLength(23) == kOk &&
                  open.GetPosition(length) == kOk && open.GetLength(length) == kOk && length == 23),
        OPERATION(kelFile::Exists(file) && kelFile(file, kRead).IsReadable()),
        OPERATION(kelFileInfo(file).GetSize() == 23),
        OPERATION(kelDirectory::GetFileNames(place.Path()).size() > 1),
        OPERATION(kelDirectory::Create(place / "a/b/c", 0x755, true) == kOk &&
                  kelDirectory::DeleteTree(place / "a") == kOk),
        OPERATION(kelDirectory::Sync(place.Path()) == kOk &&
                  kelDirectory::GetFileNames(place.Path(), names) == kOk && !names.empty()),
        OPERATION(kelDirectory::SetCurrentDirectory("/") == kOk),
        OPERATION(kelDirectory::GetCurrentDirectory() != ""),
        OPERATION(kelDirectory::GetAbsolutePath("a/../b") != ""),
        OPERATION(kelDirectory::GetRelativePath("/usr", "/usr/bin") != ""),
        OPERATION(kelLibrary().GetUserDirectory(text) == kOk),
        OPERATION(kelLibrary().SetEnvironmentVariable("ZUKEL_X", file) == kOk),
        OPERATION(kelLibrary().UnsetEnvironmentVariable("ZUKEL_X") == kOk &&
                  kelLibrary().GetEnvironmentNames(names) == kOk),
        OPERATION(kelLibrary::GetProgramPath(text) == kOk &&
                  kelLibrary::FindProgram("true", text) == kOk),
        OPERATION(kelFile().Open("/nowhere/at/all", kRead) == kelStatusNotFound &&
                  kelLibrary::GetErrorText() != ""),
        OPERATION(kelLibrary::GetAbsoluteFileName("$PATH/x")[0] != '$'),
    };
    const Operation cancellable[] = {
        // inside APR, and by a module's own code
        OPERATION(kelLibrary().GetTempDir() != ""),
        OPERATION(kelDynamicObject().LoadLibrary(ZUKEL_TEST_MODULES "/first.dll") == kOk),
    };
    constexpr std::size_t kUsualStack = 1 << 20;
    const auto ends = testing::ExitedWithCode(0);
    for (const Operation& each : operations) {
        EXPECT_EXIT(RunInThread(each, kLeastStack, false), ends, "") << each.what;
        EXPECT_EXIT(RunInThread(each, kUsualStack, true), ends, "") << each.what << ", cancelled";
    }
    for (const Operation& each : cancellable) {
        EXPECT_EXIT(RunInThread(each, kLeastStack, false), ends, "") << each.what;
    }
}

TEST(Operations, RightsAreTheEffectiveUsersAlsoWhereASandboxRefusesToTell) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string name = directory.Write("file");
    kelFile file(name, kRead);
    if (geteuid() != 0 || getegid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const struct {
        uid_t real, effective, owner;
        gid_t group;
        mode_t mode;
        int rights;  ///< 4 to read, 2 to write.
    } rows[] = {{0, 0, kNobody, kNobody, 0, 6},
                {kNobody, 0, kNobody, kNobody, 0, 6},
                {0, kNobody, kNobody, kNobody, 0400, 4},
                {0, kNobody, kNobody, 0, 0277, 2},
                {0, kNobody, 0, 0, 0740, 4},
                {0, kNobody, 0, 0, 0727, 2},
                {0, kNobody, 0, kNobody, 0774, 4},
                {0, kNobody, 0, 4242, 0747, 4}};
    for (const auto& [real, effective, owner, group, mode, rights] : rows) {
        for (const int error : {0, EPERM}) {
            const auto exitWithRights = [&, real = real, effective = effective] {
                const gid_t further = 4242;
                setgroups(1, &further), setresuid(real, effective, 0);
                const Guard refused = AtCall("faccessat", [error] { return error; });
                const Guard all = Counting(true);
                _exit(file.IsReadable() * 4 + file.IsWritable() * 2);
            };
            EXPECT_EQ(chown(name.c_str(), owner, group) + chmod(name.c_str(), mode), 0);
            EXPECT_EXIT(exitWithRights(), testing::ExitedWithCode(rights), "")
                << real << " as " << effective << " of " << owner << ':' << group << ", mode "
                << mode << ", " << error;
        }
    }
}

/// The kilobytes of a field of `/proc/meminfo`.
unsigned long long Field(const std::string& name) {
    const std::string text = "\n" + ReadWhole("/proc/meminfo");
    return std::stoull(text.substr(text.find("\n" + name + ":") + name.size() + 2));
}

TEST(Operations, FiguresAreThoseOfTheSystem) {
    EXPECT_EQ(kelSystem::TotalPagingMemory(), Field("CommitLimit"));
    zuDiskInfo disk{};
    const auto freeBytes = [&] {
        return kelSystem::GetFreeDiskSpace("/dev/shm", disk) ? disk.freeBytes : 0;
    };
    const struct {
        const char* what;
        std::function<unsigned long long()> given, expected;
    } rows[] = {{"used paging", kelSystem::UsedPagingMemory, [] { return Field("Committed_AS"); }},
                {"paging", kelSystem::AvailablePagingMemory,
                 [] { return Field("CommitLimit") - Field("Committed_AS"); }},
                {"disk", freeBytes, [] { return fs::space("/dev/shm").available; }}};
    for (const auto& row : rows) {
        EXPECT_TRUE(Eventually([&] {  // the figure moves meanwhile
            const auto before = row.expected(), given = row.given(), after = row.expected();
            return std::min(before, after) <= given && given <= std::max(before, after);
        })) << row.what
            << ": " << row.given() << " for " << row.expected();
    }
    EXPECT_EQ(disk.totalBytes, fs::space("/dev/shm").capacity);
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), 1ULL << 37U) << "what the processor offers";
    const rlimit limit{rlim_t{1} << 42U, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), 1ULL << 32U);
    const auto pages = std::stoull(ReadWhole("/proc/self/statm"));
    const auto page = static_cast<unsigned>(getpagesize());
    EXPECT_NEAR(double(kelSystem::UsedVirtualMemory()), double(pages * page / 1024), 1e3);
#endif
}

}  // namespace
