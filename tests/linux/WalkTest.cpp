// What the walks ask of Linux, and the operations that only it has or that only it is tried with.

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "faults/Walk.h"
#include "platform/FileOperations.h"

using namespace zukel::test;
using zukel::platform::MoveAcrossVolumes;

namespace zukel::test {

const char* const kOtherVolume = "/dev/shm";
const char* const kRemoval = "unlink";
const int kDenied = EACCES;
const std::vector<int> kRefusals = {EIO, EPERM, ENOSYS, EINTR};

int Inheritable() {
    int count = 0;
    for (int number = 0; number < 40; ++number) {
        count += fcntl(number, F_GETFD) == 0 ? 1 : 0;
    }
    return count;
}

void EndChild(int pid) {
    siginfo_t own{};
    if (pid > 1 && waitid(P_PID, id_t(pid), &own, WEXITED | WNOHANG | WNOWAIT) == 0) {
        EXPECT_EQ(kill(pid, SIGKILL), 0) << "what was to end it has dropped it";
    }
}

}  // namespace zukel::test

// Instrumented code takes several times the stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kLeastStack = 1 << 20;
#else
constexpr std::size_t kLeastStack = 16 << 10;
#endif

/// Makes the row's call in a thread of a process of its own, which it may end. The process ends
/// with 0 when the call has succeeded and the thread has ended as expected.
///
/// @param cancelled whether the thread is cancelled before the call begins.
[[noreturn]] static void StepInThread(const Row& row, std::size_t stack, bool cancelled) {
    bool succeeded = false, goesOn = false;
    {
        World it;
        row.prepare(it);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
        EXPECT_EQ(pthread_attr_setstacksize(&attributes, std::max(stack, least)), 0);
        std::function<void()> call = [&] {
            cancelled ? pthread_cancel(pthread_self()) : 0;
            succeeded = row.call(it) == kOk;
            pthread_testcancel();
            goesOn = true;
        };
        const auto body = [](void* work) -> void* {
            (*static_cast<std::function<void()>*>(work))();
            return nullptr;
        };
        // The start of a std::thread does not survive a cancellation everywhere (libc++ 14).
        pthread_t thread;
        EXPECT_EQ(pthread_create(&thread, &attributes, body, &call), 0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
    }
    EXPECT_EQ(goesOn, !cancelled);
    std::cerr << (succeeded ? "" : "the call fails\n");
    _exit(succeeded && !testing::Test::HasFailure() ? 0 : 1);
}

void zukel::test::StepInThreads(const Row& row) {
    const auto ends = testing::ExitedWithCode(0);
    EXPECT_EXIT(StepInThread(row, kLeastStack, false), ends, "") << row.name;
    for (const char* each : {"GetTempDir", "LoadLibrary"}) {
        if (row.name.find(each) != std::string::npos) {
            return;  // APR's search for a directory, and a module's own code, may be cancelled
        }
    }
    EXPECT_EXIT(StepInThread(row, 1 << 20, true), ends, "") << row.name << ", cancelled";
}

/// Starts the program with every stretch of the work.
static int StartProgram(World& it) {
    const std::string out = it.beyond / "out", error = it.beyond / "err";
    kelProcess& process = it.process = kelProcess();
    const int status = process.Start(it.program, {it.file}, it.beyond.Path(), {out, error}, true);
    const Guard own = Counting(false);
    EXPECT_TRUE(Ends(process));
    EXPECT_EQ(fs::remove(it.beyond / "ran"), status == kOk);
    EXPECT_EQ(process.GetPid() != -1, status == kOk);
    EXPECT_EQ(process.GetLastError().empty(), status == kOk);
    if (fault.struck != "open") {  // a file that cannot be opened is done without
        EXPECT_EQ(ReadWhole(out), status == kOk ? "out\n" : "");
    }
    it.beyond.Write("out");  // as it was
    return status;
}

/// The same when the files take the numbers of the streams.
static int StartOnFreeStreams(World& it) {
    const int in = dup(STDIN_FILENO), error = dup(STDERR_FILENO);
    const Guard back([=] {
        dup2(in, STDIN_FILENO), dup2(error, STDERR_FILENO);
        close(in), close(error);
    });
    close(STDIN_FILENO), close(STDERR_FILENO);
    return StartProgram(it);
}

TEST(FaultWalk, Programs) {
    const auto files = [](World& it) { it.beyond.Write("out"), it.beyond.Write("err"); };
    Walk({
        ROW(StartProgram(it)).Prepared(files).WithOwnWork(),
        ROW(StartOnFreeStreams(it)).Prepared(files).WithOwnWork(),
    });
    StepInThreads(ROW(it.process.Start("true", {"x"}, "/", true)));
    StepInThreads(ROW(Status(it.process.Start("no-such-program", false) == kFailed)));
    EXPECT_TRUE(AllReaped());
}

TEST(FaultWalk, Links) {
    Walk({
        ROW(kelFile::ReplaceWhole(it.from, kNew)).Leaves(After::Replaced).Prepared([](World& it) {
            fs::create_symlink(fs::path(it.file).filename(), it.from);
        }),
        ROW(kelFile::CreateSymbolicLink(kNew, it.missing)),
        ROW(kelFile::ReadSymbolicLink(it.missing, it.text)).Prepared([](World& it) {
            fs::create_symlink(kNew, it.missing);
        }),
    });
}

TEST(FaultWalk, Transfers) {
    // In memory, so that nothing waits for a disk; the move does not mind that it is one volume.
    setenv("TMPDIR", "/dev/shm", 1);
    const Guard back([] { unsetenv("TMPDIR"); });
    const Row copy = ROW(kelFile::Copy(it.from, it.to, 0x644)).Leaves(After::NoPartOfIt);
    const Row move = ROW(Status(MoveAcrossVolumes(it.from.c_str(), it.to.c_str()) == 0))
                         .Leaves(After::AsBeforeOrRenamed);
    const struct {
        Row row;
        std::size_t size;          ///< Of the source.
        const char* refused = "";  ///< A call that the system refuses,
        int error = 0;             ///< and how.
    } ways[] = {
        {copy, 3000},
        {copy, 70000, "copy_file_range", EXDEV},
        {ROW(kelFile::Copy(&it.library, it.from, it.to, 0x1000)).Leaves(copy.after), 70000},
        {ROW(kelFile::NativeCopy(it.from, it.to, 0)).Leaves(copy.after), 9000},
        {move, 9000},
        {move, 9000, "renameat2", EPERM},
        {move, 9000, "linkat", EPERM},
        {ROW(kelFile::Rename(&it.library, it.from, it.to)), 9000},
        {ROW(kelFile::NativeRename(it.from, it.to)), 9000},
    };
    for (const auto& way : ways) {
        const Guard refusing = AtCall(way.refused, [&way] { return way.error; });
        const bool moves = way.row.after == move.after;
        for (const std::string source : {"a file", moves ? "a link" : "a file with a hole"}) {
            for (const std::string target : {"a new name", "a file"}) {
                Row row = way.row;
                row.name += " from " + source + " to " + target + " without \"" + way.refused + '"';
                row.prepare = [=, size = way.size](World& it) {
                    it.to = moves ? it.beyond / kTo : it.to;
                    if (source == "a link") {
                        fs::create_symlink("somewhere", it.from);
                    } else {
                        it.place.Write(kFrom, std::string(size, 'c'));
                        fs::resize_file(it.from, source == "a file" ? size : 100000);
                    }
                    // Where the volume has such attributes.
                    setxattr(it.from.c_str(), "user.zukel", "a", 1, 0);
                    if (target == "a file") {
                        std::ofstream(it.to) << "old";
                    }
                };
                Walk({row}, {EIO, EPERM, ENOSYS, EINTR, EINVAL, ENOTSUP, EROFS});
            }
        }
    }
}
