// All operations on Linux, as they run in threads: in several copies of the library, on the least
// stack, and cancelled.

#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

/// The thread sanitizer does not know the lock that guards this for one of threads.
TEST(Runtime, CopiesOfTheLibraryInOneProcess_StartAndStopItAtTheSameTime) {
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
/// @param cancelled whether the thread has been cancelled before the operation begins.
[[noreturn]] void RunInThread(const Operation& operation, std::size_t stack, bool cancelled) {
    struct Task {
        const Operation& operation;
        bool cancelled, succeeded;
    } task{operation, cancelled, false};
    const auto body = [](void* argument) -> void* {
        Task& it = *static_cast<Task*>(argument);
        if (it.cancelled) {
            pthread_cancel(pthread_self());
        }
        it.succeeded = it.operation.call();
        pthread_testcancel();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    void* result = nullptr;
    const bool ran = pthread_attr_init(&attributes) == 0 &&
                     pthread_attr_setstacksize(&attributes, stack) == 0 &&
                     pthread_create(&thread, &attributes, body, &task) == 0 &&
                     pthread_join(thread, &result) == 0;
    const bool ended = result == (cancelled ? PTHREAD_CANCELED : nullptr);
    _exit(ran && ended && task.succeeded ? 0 : 1);
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
    ASSERT_EQ(owner.Create(100, segment), kOk);
    ASSERT_EQ(process.Start("sleep", {"30"}, false), kOk);
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
        OPERATION(process.IsRunning() && kelProcess::IsRunning(process.GetPid())),
        OPERATION(process.Start("sleep", {"30"}, false) == kOk && process.Kill() == kOk),
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
        OPERATION(kelFile::Exists(file) && kelFile(file, kRead).IsReadable()),
        OPERATION(kelFileInfo(file).GetSize() == 23),
        OPERATION(kelDirectory::GetFileNames(place.Path()).size() > 1),
        OPERATION(kelDirectory::Create(place / "a/b/c", 0x755, true) == kOk),
        OPERATION(kelDirectory::SetCurrentDirectory("/") == kOk),
        OPERATION(kelDirectory::GetCurrentDirectory() != ""),
        OPERATION(kelDirectory::GetAbsolutePath("a/../b") != ""),
        OPERATION(kelDirectory::GetRelativePath("/usr", "/usr/bin") != ""),
        OPERATION(kelLibrary().GetCurrentUserName(text) == kOk),
        OPERATION(kelLibrary().GetUserDirectory(text) == kOk),
        OPERATION((kelLibrary().GetLocale(), true)),
        OPERATION(kelLibrary().SetEnvironmentVariable("ZUKEL_X", file) == kOk),
        OPERATION(kelLibrary::GetAbsoluteFileName("$PATH/x")[0] != '$'),
    };
    const Operation cancellable[] = {
        // inside APR, and by a module's own code
        OPERATION(kelLibrary().GetTempDir() != ""),
        OPERATION(kelDynamicObject().LoadLibrary(ZUKEL_TEST_MODULES "/first.dll") == kOk),
    };
    constexpr std::size_t kUsualStack = 1 << 20;
    const auto expect = [](const Operation& operation, std::size_t stack, bool isCancelled) {
        EXPECT_EXIT(RunInThread(operation, stack, isCancelled), testing::ExitedWithCode(0), "")
            << operation.what << (isCancelled ? ", cancelled" : ", on the least stack");
    };
    for (const Operation& each : operations) {
        expect(each, kLeastStack, false);
        expect(each, kUsualStack, true);
    }
    for (const Operation& each : cancellable) {
        expect(each, kLeastStack, false);
    }
    EXPECT_EQ(process.Kill(), kOk);
}

TEST(Operations, RightsAreTheEffectiveUsersAlsoWhereASandboxRefusesToTell) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string name = directory.Write("file");
    kelFile file(name, kRead);
    const struct {
        uid_t owner;
        gid_t group;
        mode_t mode;
        bool readable, writable;  ///< By nobody, with the group of root.
    } rows[] = {{kNobody, kNobody, 0400, true, false},
                {kNobody, kNobody, 0277, false, true},
                {0, 0, 0040, true, false},
                {0, 0, 0727, false, true},
                {0, kNobody, 0004, true, false},
                {0, kNobody, 0772, false, true}};
    for (const auto& [owner, group, mode, readable, writable] : rows) {
        SCOPED_TRACE(std::to_string(owner) + ':' + std::to_string(group) + ' ' +
                     std::to_string(mode));
        if (geteuid() != 0 || getegid() != 0 || chown(name.c_str(), owner, group) != 0) {
            GTEST_SKIP() << "of root alone";
        }
        ASSERT_EQ(chmod(name.c_str(), mode), 0);
        for (const int error : {0, EPERM}) {
            const Guard refused = AtCall("faccessat", [error] { return error; });
            const Guard all = Counting(true);
            EXPECT_TRUE(file.IsReadable()) << "root, " << error;
            EXPECT_TRUE(file.IsWritable()) << "root, " << error;
            const Guard user = Unprivileged();
            EXPECT_EQ(file.IsReadable(), readable) << error;
            EXPECT_EQ(file.IsWritable(), writable) << error;
        }
    }
}

}  // namespace
