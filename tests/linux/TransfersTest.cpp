// Copies and moves on Linux beside limits, access lists, sandboxes and volumes that lack
// something. A move is made by the function below `Rename`, so that it needs no second volume.

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <cstddef>

#include "linux/Users.h"
#include "platform/FileOperations.h"

using namespace zukel::test;
using Transfers = InMemory;
using TransfersOnDisk = InDirectory;

namespace {

/// A way to transfer a file, under the faults that are armed.
struct Way {
    std::string name;
    std::function<int(const std::string&, const std::string&)> transfer;

    int operator()(const std::string& from, const std::string& to) const {
        return UnderFaults([&] { return transfer(from, to); });
    }
};
const Way kCopy{"Copy", [](auto& from, auto& to) {
                    return kelFile::Copy(from, to, kelFileInfo::PermissionOfSource);
                }};
const Way kNativeCopy{"NativeCopy",
                      [](auto& from, auto& to) { return kelFile::NativeCopy(from, to, 0); }};
const Way kMove{"Move", [](auto& from, auto& to) {
                    const int error = zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str());
                    return error == 0 ? kOk : kFailed;
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

TEST_F(Transfers, LimitsOfSizes_AreFailuresWithoutAPartOrASignal) {
    directory.Write("from", Noise(400000));
    sigset_t own, pending, blocked;
    sigemptyset(&own);
    sigaddset(&own, SIGXFSZ);
    for (const bool isPending : {false, true}) {
        if (isPending) {
            pthread_sigmask(SIG_BLOCK, &own, nullptr), raise(SIGXFSZ);
        }
        for (const Way& way : kWays) {
            for (const bool exists : {false, true}) {
                SCOPED_TRACE(way.name + (exists ? " to a file" : " to a new name") +
                             (isPending ? ", the program has the signal pending" : ""));
                const std::size_t former = exists && way.name == "Move" ? 3 : 0;
                fs::create_hard_link(exists ? directory.Write("to", "old") : "from", "hard");
                LimitFileSize(100000);
                EXPECT_EQ(way("from", "to"), kFailed);
                LimitFileSize(RLIM_INFINITY);
                EXPECT_EQ(fs::exists("to"), former != 0) << "a part is left";
                EXPECT_EQ(fs::file_size("hard"), exists ? former : 400000);
                EXPECT_EQ(fs::file_size("from"), 400000U);
                pthread_sigmask(SIG_BLOCK, nullptr, &blocked), sigpending(&pending);
                EXPECT_EQ(sigismember(&blocked, SIGXFSZ), isPending);
                EXPECT_EQ(sigismember(&pending, SIGXFSZ), isPending);
                EXPECT_EQ(sigismember(&blocked, SIGIO), 0);
                fs::remove("hard"), fs::remove("to");
            }
        }
    }
}

TEST_F(Transfers, ThatCannotBeMade_FailAndLeaveTheTarget) {
    directory.Write("from", Noise(400000)), directory.Write("to", "old");
    fs::create_directory("folder");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const struct {
        const char *from, *to;
    } rows[] = {{"missing", "to"},
                {"folder", "to"},
                {"/proc/self/mem", "to"},
                {"from", "/dev/full"},
                {"pipe", "pipe"}};  // which would wait for ever
    for (const Way& way : kCopies) {
        for (const auto& row : rows) {
            SCOPED_TRACE(way.name + " from " + row.from + " to " + row.to);
            EXPECT_EQ(way(row.from, row.to), kFailed);
            EXPECT_EQ(ReadWhole("to"), "old");
        }
        std::thread reader([] { std::ifstream("pipe").get(); });
        EXPECT_EQ(way("from", "pipe"), kFailed) << way.name << ", and its reader leaves";
        reader.join();
        EXPECT_TRUE(fs::is_fifo("pipe")) << way.name;
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
    // Makes the source, with this list in the place of that of the directory; returns the list.
    const auto make = [&](const std::string& entries, unsigned mode) {
        const std::string list = AccessList(entries), from = directory.Write("from");
        fs::permissions("from", fs::perms(mode));
        EXPECT_EQ(setxattr("from", kAccessList, list.data(), list.size(), 0), 0) << entries;
        return list;
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
    for (const auto& row : rows) {
        for (const Way& way : kWays) {
            for (const int error : {0, ENOTSUP}) {
                SCOPED_TRACE(way.name + ", " + row.list + (error == 0 ? "" : ", kept nowhere"));
                const std::string list = make(row.list, row.mode);
                const Guard lacking = Failing("fsetxattr", error);
                EXPECT_EQ(way("from", "to"), kOk);
                EXPECT_EQ(get("to"), error == 0 ? list : "");
                EXPECT_EQ(ModeOf("to"), error == 0 ? row.mode : row.alone);
                fs::remove("to");
            }
        }
    }
    const std::string list = make(rows[1].list, 0640);
    for (int nth = 1; nth < 9; ++nth) {
        const Guard armed = Arm({FaultSource::Memory, nth, true});
        const int status = kCopy("from", "to");
        EXPECT_EQ(get("to"), status == kOk ? list : "") << "no memory at " << nth;
        fs::remove("to");
    }
}

TEST_F(Transfers, RefusedInterruptedAndShortCalls_FailNothing) {
    const TemporaryDirectory disk;  // where copies sync nothing
    const Guard shortened = ShortTransfers([](std::size_t size) { return size / 2 + 1; });
    const std::string text = Noise(1100000);
    const auto transfer = [&](const char* call, int error, int last) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name + ": " + call + ", " + std::strerror(error));
            const TemporaryDirectory& place = way.name == "Move" ? directory : disk;
            const std::string from = place.Write("from", text), to = place.Write("to", "old");
            const Guard failing = Failing(call, error, 1, last);
            EXPECT_EQ(way(from, to), kOk);
            EXPECT_TRUE(ReadWhole(to) == text) << "other contents";
        }
    };
    for (const char* call :
         {"fchmod", "fchown", "futimens", "fremovexattr", "fgetxattr", "flistxattr",
          "copy_file_range", "ioctl", "fallocate", "mmap", "renameat2", "fcntl"}) {
        for (const int error : {ENOSYS, EACCES, EPERM, ENOTSUP, EINVAL}) {
            transfer(call, error, INT_MAX);
        }
    }
    for (const char* call : {"open", "openat", "read", "write", "ftruncate", "copy_file_range",
                             "ioctl", "fallocate", "fsync"}) {
        transfer(call, EINTR, 1);
    }
}

TEST_F(TransfersOnDisk, Contents_AreWholeWhateverTheKernelCopies) {
    const std::string text = Noise(3U << 20U);
    directory.Write("from", text);
    InSandbox(SYS_copy_file_range, 4, 1U << 30U, 0, [&] {
        EXPECT_EQ(kCopy("from", "to"), kOk);
        EXPECT_TRUE(ReadWhole("to") == text) << "the kernel said that there is no more";
    });
    for (const char* call : {"fallocate", "mmap", "write", "munmap", "copy_file_range"}) {
        SCOPED_TRACE(std::string("the source is truncated before ") + call);
        directory.Write("from", text);
        const Guard shrinks = AtCall(call, [] { return fs::resize_file("from", 1234567), 0; });
        EXPECT_EQ(kCopy("from", "to"), kOk);
        EXPECT_TRUE(ReadWhole("to") == text.substr(0, 1234567)) << "a tail of zeros";
        EXPECT_LT(BlocksOf("to"), 2600) << "room stays reserved";
    }
    fs::resize_file("from", 16U << 20U);
    for (const Way& way : kCopies) {
        SCOPED_TRACE(way.name + " of a file with holes");
        EXPECT_EQ(way("from", "to"), kOk);
        EXPECT_LE(BlocksOf("to"), BlocksOf("from") + 16) << "holes are filled";
        EXPECT_TRUE(ReadWhole("to") == ReadWhole("from")) << "other contents";
    }
}

TEST_F(TransfersOnDisk, Targets_AreOpenedAsTheyAreAndOnlyOnesOwnMadeWritable) {
    directory.Write("from", "new"), directory.Write("to", "old");
    for (const Way& way : kCopies) {
        SCOPED_TRACE(way.name);
        // As sticky directories do, by the usual protection, with the files of others.
        InSandbox(SYS_openat, 2, O_CREAT, EACCES, [&] { EXPECT_EQ(way("from", "to"), kOk); });
        EXPECT_EQ(ReadWhole("to"), "new");
    }
    {
        const Guard uncut = Failing("ftruncate", EPERM);
        EXPECT_EQ(kCopy("from", directory.Write("long", "older")), kFailed);
        EXPECT_EQ(ReadWhole("long"), "older") << "nothing was touched";
        unsigned mode = 0;
        const Guard made = AtCall("fchmod", [&] { return mode = ModeOf("made"), 0; });
        EXPECT_EQ(kCopy("from", "made"), kOk);
        EXPECT_EQ(mode, 0600U) << "others could open it before it has its permissions";
    }
    {
        fs::permissions("to", fs::perms(0404));
        const Guard refused = Failing("open", EACCES, 2, 2);  // the first is the source's
        EXPECT_EQ(kNativeCopy("to", "to"), kFailed);
        EXPECT_EQ(ModeOf("to"), 0404U) << "onto itself, though it may not be written";
        fs::create_hard_link("from", "hard");
        int calls = 0;
        const Guard becomesTheSource =
            AtCall("open", [&] { return ++calls == 2 ? std::rename("hard", "to") : 0; });
        EXPECT_EQ(kCopy("from", "to"), kFailed);
        EXPECT_EQ(ReadWhole("from"), "new");
    }
    const struct {
        const char* what;
        uid_t owner;
        int refusals;  ///< To open the target.
        int status;
    } rows[] = {{"refused once", geteuid(), 1, kOk},
                {"refused twice", geteuid(), 2, kFailed},
                {"refused once, another's", geteuid() + 1, 1, kFailed}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fs::remove("to"), directory.Write("to", "old");
        if (chown("to", row.owner, getegid()) != 0) {
            GTEST_SKIP() << "files cannot be given away";
        }
        fs::permissions("to", fs::perms(0404));
        const Guard refused = Failing("open", EACCES, 2, 1 + row.refusals);
        EXPECT_EQ(kCopy("from", "to"), row.status);
        EXPECT_EQ(ReadWhole("to"), row.status == kOk ? "new" : "old");
        EXPECT_EQ(ModeOf("to"), row.status == kOk ? ModeOf("from") : 0404U);
    }
}

TEST_F(Transfers, SetIdAndStickyBits_AreKeptWhereTheOwnerIs) {
    const struct {
        const char* source;
        uid_t owner;
        gid_t group;
        unsigned copied;  ///< What a copy has of 07751.
    } rows[] = {{"one's own", geteuid(), getegid(), 07751},
                {"another user's", geteuid() + 1, getegid(), 03751},
                {"another group's", geteuid(), getegid() + 1, 05751}};
    for (const auto& row : rows) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name + " of " + row.source);
            const bool moves = way.name == "Move";
            if (chown(directory.Write("from", "text").c_str(), row.owner, row.group) != 0) {
                GTEST_SKIP() << "files cannot be given away";
            }
            fs::permissions("from", fs::perms(07751));
            const bool kept = setxattr("from", "user.zukel", "a", 1, 0) == 0 ? moves : false;
            EXPECT_EQ(way("from", "to"), kOk);
            EXPECT_EQ(ModeOf("to"), moves ? 07751 : row.copied);
            EXPECT_EQ(getxattr("to", "user.zukel", nullptr, 0), kept ? 1 : -1);
            EXPECT_EQ(fs::exists("from"), !moves);
            fs::remove("from"), fs::remove("to");
        }
    }
}

}  // namespace
