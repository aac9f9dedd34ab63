// Copies and moves on Linux beside limits, access lists, sandboxes and volumes that lack
// something. A move is made by the function below `Rename`, so that it needs no second volume.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>

#include "linux/Users.h"
#include "platform/FileOperations.h"
#include "support/Faults.h"

using namespace zukel::test;
using Transfers = InMemory;
using TransfersOnDisk = InDirectory;

namespace {

struct Way {
    std::string name;
    std::function<bool(const std::string&, const std::string&)> transfer;

    /// The same with faults.
    bool operator()(const std::string& from, const std::string& to) const {
        return UnderFaults([&] { return transfer(from, to); });
    }
};
const Way kCopy{"Copy", [](auto& from, auto& to) {
                    return kelFile::Copy(from, to, kelFileInfo::PermissionOfSource) == kOk;
                }};
const Way kNativeCopy{"NativeCopy",
                      [](auto& from, auto& to) { return kelFile::NativeCopy(from, to, 0) == kOk; }};
const Way kMove{"Move", [](auto& from, auto& to) {
                    return zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str()) == 0;
                }};
const Way kCopies[] = {kCopy, kNativeCopy}, kWays[] = {kCopy, kNativeCopy, kMove};

/// 512 bytes each.
blkcnt_t BlocksOf(const std::string& name) {
    struct stat facts {};
    EXPECT_EQ(stat(name.c_str(), &facts), 0) << name;
    return facts.st_blocks;
}

/// Does the work in a thread to which the system answers a call with `error`, where that argument
/// of the call has one of the bits. With error 0 the call does nothing and returns 0.
void InSandbox(unsigned call, std::size_t argument, unsigned bits, unsigned error,
               const std::function<void()>& work) {
    const auto at = static_cast<unsigned>(offsetof(seccomp_data, args) + 8 * argument);
    sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
                           BPF_STMT(BPF_LD | BPF_W | BPF_ABS, at),
                           BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    std::thread([&] {
        const sock_fprog program{std::size(rules), rules};
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0) << "no sandbox here";
        work();
    }).join();
}

TEST_F(Transfers, LimitsAndLostReaders_AreFailuresAndNoSignalsOfTheProgram) {
    directory.Write("from", Noise(400000));
    const rlimit limit{100000, RLIM_INFINITY}, none{RLIM_INFINITY, RLIM_INFINITY};
    sigset_t own, pending, blocked;
    sigemptyset(&own);
    sigaddset(&own, SIGXFSZ);
    for (const bool isPending : {false, true}) {  // a signal of the program's own
        if (isPending) {
            pthread_sigmask(SIG_BLOCK, &own, nullptr);
            raise(SIGXFSZ);
        }
        for (const Way& way : kWays) {
            for (const bool exists : {false, true}) {
                SCOPED_TRACE(way.name + (exists ? " to a file" : ""));
                fs::create_hard_link(exists ? directory.Write("to", "old") : "from", "hard");
                EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
                EXPECT_FALSE(way.transfer("from", "to"));
                EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
                EXPECT_EQ(fs::exists("to"), exists && way.name == "Move") << "a part is left";
                EXPECT_EQ(fs::file_size("hard"), !exists ? 400000U : way.name == "Move" ? 3U : 0U);
                EXPECT_EQ(fs::file_size("from"), 400000U);
                EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
                EXPECT_EQ(sigismember(&blocked, SIGXFSZ), isPending);
                EXPECT_EQ(sigismember(&blocked, SIGIO), 0);
                EXPECT_EQ(sigpending(&pending), 0);
                EXPECT_EQ(sigismember(&pending, SIGXFSZ), isPending);
                fs::remove("hard"), fs::remove("to");
            }
        }
    }
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (const Way& way : kCopies) {
        SCOPED_TRACE(way.name);
        std::thread reader([] { std::ifstream("pipe").get(); });
        EXPECT_FALSE(way.transfer("from", "pipe"));
        reader.join();
        EXPECT_FALSE(way.transfer("pipe", "pipe")) << "this would wait for ever";
        EXPECT_TRUE(fs::is_fifo("pipe"));
        EXPECT_FALSE(way.transfer("from", "/dev/full"));
    }
}

TEST_F(Transfers, SourcesThatCannotBeRead_LeaveTheTarget) {
    directory.Write("to", "old");
    fs::create_directory("folder");
    for (const Way& way : kCopies) {
        for (const char* const from : {"missing", "folder", "/proc/self/mem"}) {
            EXPECT_FALSE(way.transfer(from, "to")) << way.name << " from " << from;
            EXPECT_EQ(ReadWhole("to"), "old") << way.name << " from " << from;
        }
    }
}

/// Entries as "u6": the owner, a named user, the group, a named group, the mask, the others.
std::string AccessList(const std::string& entries) {
    std::string bytes("\2\0\0\0", 4);
    for (std::size_t at = 0; at + 1 < entries.size(); at += 3) {
        const char tag = static_cast<char>(1U << std::string("uUgGmo").find(entries[at]));
        bytes += {tag, 0, static_cast<char>(entries[at + 1] - '0'), 0};
        bytes += tag == 2 || tag == 8 ? std::string("\xD2\4\0\0", 4) : std::string(4, '\xFF');
    }
    return entries.empty() ? "" : bytes;
}

constexpr const char* kAccessList = "system.posix_acl_access";

TEST_F(Transfers, AccessLists_AreCarriedOrGrantNobodyMore) {
    const auto get = [](const char* name) {
        char value[200];
        const ssize_t size = getxattr(name, kAccessList, value, sizeof value);
        return std::string(value, size > 0 ? static_cast<std::size_t>(size) : 0);
    };
    const struct {
        const char* list;
        unsigned mode, alone;  ///< As it shows, and on a volume without lists.
    } rows[] = {{"", 0640, 0640},
                {"u6 U4 g0 m4 o0", 0640, 0600},  // a user more than the group,
                {"u7 U4 g5 m7 o5", 0775, 0744},  // less than the others;
                {"u6 g6 G4 m6 o6", 0666, 0664},  // a group,
                {"u6 g6 G6 m4 o6", 0646, 0644},  // the mask less than the others;
                {"u6 g6 m4 o6", 0646, 0646}};    // nobody named
    const std::string folders = AccessList(rows[1].list);
    if (setxattr(".", "system.posix_acl_default", folders.data(), folders.size(), 0) != 0) {
        GTEST_SKIP() << "no access lists here";
    }
    for (int nth = 1; nth < 9; ++nth) {
        const std::string own = AccessList(rows[1].list), from = directory.Write("from");
        EXPECT_EQ(setxattr("from", kAccessList, own.data(), own.size(), 0), 0);
        const Guard armed = Arm({FaultSource::Memory, nth, true});
        EXPECT_TRUE(!kCopy("from", "to") || get("to") == own) << "without memory for block " << nth;
        fs::remove("to");
    }
    for (const auto& row : rows) {
        for (const Way& way : kWays) {
            for (const int error : {0, ENOTSUP}) {
                SCOPED_TRACE(way.name + ", " + row.list + (error == 0 ? "" : ", kept nowhere"));
                const std::string own = AccessList(row.list), from = directory.Write("from");
                removexattr("from", kAccessList);
                fs::permissions("from", fs::perms(row.mode));
                if (!own.empty()) {
                    EXPECT_EQ(setxattr("from", kAccessList, own.data(), own.size(), 0), 0);
                }
                const Guard lacking = AtCall("fsetxattr", [&] { return error; });
                EXPECT_TRUE(way("from", "to"));
                EXPECT_EQ(get("to"), error == 0 ? own : "");
                EXPECT_EQ(ModeOf("to"), error == 0 ? row.mode : row.alone);
                fs::remove("to");
            }
        }
    }
}

TEST_F(Transfers, RefusedAndInterruptedCalls_FailNothing) {
    const TemporaryDirectory disk;  // where copies sync nothing
    const std::string text = Noise(1100000);
    const struct {
        std::vector<const char*> calls;
        std::vector<int> errors;
    } rows[] = {{{"fchmod", "fchown", "futimens", "fremovexattr", "fgetxattr", "flistxattr",
                  "copy_file_range", "ioctl", "fallocate", "mmap", "renameat2", "fcntl"},
                 {ENOSYS, EACCES, EPERM, ENOTSUP, EINVAL}},
                {{"open", "openat", "read", "write", "ftruncate", "copy_file_range", "ioctl",
                  "fallocate", "fsync"},
                 {EINTR}}};
    const auto tryIt = [&](const Way& way, const char* call, int error) {
        const TemporaryDirectory& place = way.name == "Move" ? directory : disk;
        const std::string from = place.Write("from", text), to = place.Write("to", "old");
        SCOPED_TRACE(way.name + ": " + call + ", " + std::strerror(error));
        int calls = 0;
        const Guard at = AtCall(call, [&] { return error != EINTR || ++calls == 1 ? error : 0; });
        EXPECT_TRUE(way(from, to));
        EXPECT_TRUE(ReadWhole(to) == text);
    };
    for (const auto& row : rows) {
        for (const char* call : row.calls) {
            for (const int error : row.errors) {
                for (const Way& way : kWays) {
                    tryIt(way, call, error);
                }
            }
        }
    }
}

TEST_F(TransfersOnDisk, Contents_AreWholeWhateverTheKernelCopies) {
    const std::string text = Noise(3U << 20U);
    directory.Write("from", text);
    InSandbox(SYS_copy_file_range, 4, 1U << 30U, 0, [&] {
        EXPECT_TRUE(kCopy.transfer("from", "to"));
        EXPECT_TRUE(ReadWhole("to") == text) << "the kernel said that there is no more";
    });
    for (const char* call : {"fallocate", "mmap", "write", "munmap", "copy_file_range"}) {
        SCOPED_TRACE(std::string("the source is truncated before ") + call);
        directory.Write("from", text);
        {
            const Guard shrinks = AtCall(call, [] { return fs::resize_file("from", 1234567), 0; });
            EXPECT_TRUE(kCopy("from", "to"));
        }
        EXPECT_TRUE(ReadWhole("to") == text.substr(0, 1234567)) << "a tail of zeros";
        EXPECT_LT(BlocksOf("to"), 2600) << "room stays reserved";
    }
    fs::resize_file("from", 16U << 20U);
    for (const Way& way : kCopies) {
        EXPECT_TRUE(way.transfer("from", "to")) << way.name;
        EXPECT_LE(BlocksOf("to"), BlocksOf("from") + 16) << "holes are filled";
        EXPECT_TRUE(ReadWhole("to") == ReadWhole("from"));
    }
}

TEST_F(TransfersOnDisk, Targets_AreOpenedAsTheyAreAndOnlyOnesOwnMadeWritable) {
    directory.Write("from", "new"), directory.Write("to", "old");
    for (const Way& way : kCopies) {
        // As sticky directories do, by the usual protection, with the files of others.
        InSandbox(SYS_openat, 2, O_CREAT, EACCES,
                  [&] { EXPECT_TRUE(way.transfer("from", "to")) << way.name; });
        EXPECT_EQ(ReadWhole("to"), "new") << way.name;
    }
    const struct {
        uid_t owner;
        int refusals;  ///< To open the target.
        bool done;
    } rows[] = {{geteuid(), 1, true}, {geteuid(), 2, false}, {geteuid() + 1, 1, false}};
    for (const auto& [owner, refusals, done] : rows) {
        SCOPED_TRACE(std::to_string(owner) + ", " + std::to_string(refusals));
        directory.Write("to", "old");
        if (chown("to", owner, getegid()) != 0) {
            GTEST_SKIP() << "files cannot be given away";
        }
        fs::permissions("to", fs::perms(0404));
        int opened = -1;  // the source, first
        const Guard refused = AtCall(
            "open", [&, last = refusals] { return ++opened > 0 && opened <= last ? EACCES : 0; });
        EXPECT_EQ(kCopy("from", "to"), done);
        EXPECT_EQ(ReadWhole("to"), done ? "new" : "old");
        EXPECT_EQ(ModeOf("to"), done ? ModeOf("from") : 0404U);
    }
    {
        const Guard uncut = AtCall("ftruncate", [] { return EPERM; });
        EXPECT_FALSE(kCopy("from", directory.Write("long", "older")));
        EXPECT_EQ(ReadWhole("long"), "older") << "nothing was touched";
        unsigned mode = 0;
        const Guard made = AtCall("fchmod", [&] { return mode = ModeOf("made"), 0; });
        EXPECT_TRUE(kCopy("from", "made"));
        EXPECT_EQ(mode, 0600U) << "others could open it before it has its permissions";
    }
    int calls = 0;
    {
        const Guard refused = AtCall("open", [&] { return ++calls == 2 ? EACCES : 0; });
        UnderFaults([] { return kelFile::NativeCopy("to", "to", kelFileInfo::PermissionDefault); });
        EXPECT_EQ(ModeOf("to"), 0404U) << "onto itself, though it may not be written";
    }
    calls = 0;
    const Guard becomesTheSource = AtCall("open", [&] {
        if (++calls == 2) {
            fs::create_hard_link("from", "hard"), fs::rename("hard", "to");
        }
        return 0;
    });
    EXPECT_FALSE(kCopy("from", "to"));
    EXPECT_EQ(ReadWhole("from"), "new");
}

TEST_F(Transfers, SetIdAndStickyBits_AreKeptWhereTheOwnerIs) {
    const struct {
        uid_t owner;
        gid_t group;
        unsigned copied;  ///< What a copy has of 07751.
    } rows[] = {{geteuid(), getegid(), 07751},
                {geteuid() + 1, getegid(), 03751},
                {geteuid(), getegid() + 1, 05751}};
    for (const auto& [owner, group, copied] : rows) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name + " of " + std::to_string(owner) + ":" + std::to_string(group));
            const bool moves = way.name == "Move";
            if (chown(directory.Write("from", "text").c_str(), owner, group) != 0) {
                GTEST_SKIP() << "files cannot be given away";
            }
            fs::permissions("from", fs::perms(07751));
            const bool marked = setxattr("from", "user.zukel", "a", 1, 0) == 0;
            EXPECT_TRUE(way.transfer("from", "to"));
            EXPECT_EQ(ModeOf("to"), moves ? 07751 : copied);
            EXPECT_EQ(getxattr("to", "user.zukel", nullptr, 0), marked && moves ? 1 : -1);
            EXPECT_EQ(fs::remove("from"), !moves);
            fs::remove("to");
        }
    }
}

}  // namespace
