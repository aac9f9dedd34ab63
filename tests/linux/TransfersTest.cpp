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

#include "platform/FileOperations.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

struct Way {
    std::string name;
    std::function<bool(const std::string&, const std::string&)> transfer;
};
const Way kCopy{"Copy", [](const auto& from, const auto& to) {
                    return kelFile::Copy(from, to, kelFileInfo::PermissionOfSource) == kOk;
                }};
const Way kNativeCopy{"NativeCopy", [](const auto& from, const auto& to) {
                          return kelFile::NativeCopy(from, to, 0) == kOk;
                      }};
const Way kMove{"Move", [](const auto& from, const auto& to) {
                    return zukel::platform::MoveAcrossVolumes(from.c_str(), to.c_str());
                }};
const Way kWays[] = {kCopy, kNativeCopy, kMove};

/// Bytes without a pattern.
std::string Noise(std::size_t size) {
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), std::minstd_rand());
    return text;
}

struct stat Facts(const std::string& name) {
    struct stat facts {};
    EXPECT_EQ(lstat(name.c_str(), &facts), 0) << name;
    return facts;
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

TEST(Transfers, LimitsAndLostReaders_AreFailuresAndNoSignalsOfTheProgram) {
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place.Write("from", Noise(400000)), pipe = place / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
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
            SCOPED_TRACE(way.name);
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
            EXPECT_FALSE(way.transfer(from, place / "to"));
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
            EXPECT_EQ(place.Count(), 2) << "a part is left";
            EXPECT_EQ(Facts(from).st_size, 400000);
            EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
            EXPECT_EQ(sigismember(&blocked, SIGXFSZ), isPending);
            EXPECT_EQ(sigismember(&blocked, SIGIO), 0);
            EXPECT_EQ(sigpending(&pending), 0);
            EXPECT_EQ(sigismember(&pending, SIGXFSZ), isPending);
        }
    }
    for (const Way& way : {kCopy, kNativeCopy}) {
        std::thread reader([&] { std::ifstream(pipe).get(); });
        EXPECT_FALSE(way.transfer(from, pipe)) << way.name;
        reader.join();
        EXPECT_FALSE(way.transfer(pipe, pipe)) << "this would wait for ever";
        EXPECT_TRUE(S_ISFIFO(Facts(pipe).st_mode));
    }
}

TEST(Transfers, AccessLists_AreCarriedOrGrantNobodyMore) {
    // Entries as "u6": the owner, a named user, the group, a named group, the mask, the others.
    const auto list = [](const std::string& entries) {
        std::string bytes("\2\0\0\0", 4);
        for (std::size_t at = 0; at + 1 < entries.size(); at += 3) {
            const char tag = static_cast<char>(1U << std::string("uUgGmo").find(entries[at]));
            const bool named = tag == 2 || tag == 8;
            bytes += {tag, 0, static_cast<char>(entries[at + 1] - '0'), 0};
            bytes += named ? std::string("\xD2\4\0\0", 4) : std::string(4, '\xFF');
        }
        return entries.empty() ? "" : bytes;
    };
    const auto get = [](const std::string& name) {
        char value[200];
        const ssize_t size = getxattr(name.c_str(), "system.posix_acl_access", value, 200);
        return std::string(value, size > 0 ? static_cast<std::size_t>(size) : 0);
    };
    const struct {
        std::string list;
        unsigned mode, alone;  ///< As it shows, and on a volume without lists.
    } cases[] = {{"", 0640, 0640},
                 {"u6 U4 g0 m4 o0", 0640, 0600},  // a user more than the group,
                 {"u7 U4 g5 m7 o5", 0775, 0744},  // less than the others;
                 {"u6 g6 G4 m6 o6", 0666, 0664},  // a group,
                 {"u6 g6 G6 m4 o6", 0646, 0644},  // the mask less than the others;
                 {"u6 g6 m4 o6", 0646, 0646}};    // nobody named
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to", folders = list(cases[1].list);
    if (setxattr(place.Path().c_str(), "system.posix_acl_default", folders.data(), folders.size(),
                 0) != 0) {
        GTEST_SKIP() << "no access lists here";
    }
    for (const auto& each : cases) {
        for (const Way& way : kWays) {
            for (const bool keeps : {true, false}) {
                SCOPED_TRACE(way.name + ", " + each.list + (keeps ? "" : ", kept nowhere"));
                place.Write("from", "text");
                removexattr(from.c_str(), "system.posix_acl_access");
                EXPECT_EQ(chmod(from.c_str(), each.mode), 0);
                const std::string own = list(each.list);
                EXPECT_TRUE(own.empty() || setxattr(from.c_str(), "system.posix_acl_access",
                                                    own.data(), own.size(), 0) == 0);
                const Guard lacking = AtCall("fsetxattr", [&] { return keeps ? 0 : ENOTSUP; });
                EXPECT_TRUE(UnderFaults([&] { return way.transfer(from, to); }));
                EXPECT_EQ(get(to), keeps ? own : "");
                EXPECT_EQ(ModeOf(to), keeps ? each.mode : each.alone);
                fs::remove(to);
            }
        }
    }
}

TEST(Transfers, RefusedAndInterruptedCalls_FailNothing) {
    const TemporaryDirectory disk, memory("/dev/shm");  // nothing is synced on the first
    const std::string text = Noise(1100000);
    const struct {
        std::vector<const char*> calls;
        std::vector<int> errors;
    } cases[] = {{{"fchmod", "fchown", "futimens", "fremovexattr", "fgetxattr", "flistxattr",
                   "copy_file_range", "ioctl", "fallocate", "mmap", "renameat2", "fcntl"},
                  {ENOSYS, EACCES, EPERM, ENOTSUP, EINVAL}},
                 {{"open", "openat", "read", "write", "ftruncate", "copy_file_range", "ioctl",
                   "fallocate", "fsync"},
                  {EINTR}}};
    const auto tryIt = [&](const Way& way, const char* call, int error) {
        const TemporaryDirectory& place = way.name == "Move" ? memory : disk;
        const std::string from = place.Write("from", text), to = place.Write("to", "old");
        SCOPED_TRACE(way.name + ": " + call + ", " + std::strerror(error));
        int calls = 0;
        const Guard at = AtCall(call, [&] { return error != EINTR || ++calls == 1 ? error : 0; });
        EXPECT_TRUE(UnderFaults([&] { return way.transfer(from, to); }));
        EXPECT_TRUE(ReadWhole(to) == text);
    };
    for (const auto& each : cases) {
        for (const char* call : each.calls) {
            for (const int error : each.errors) {
                for (const Way& way : kWays) {
                    tryIt(way, call, error);
                }
            }
        }
    }
}

TEST(Transfers, Contents_AreWholeWhateverTheKernelCopies) {
    const TemporaryDirectory place;
    const std::string text = Noise(3U << 20U), from = place.Write("from", text), to = place / "to";
    InSandbox(SYS_copy_file_range, 4, 1U << 30U, 0, [&] {
        EXPECT_TRUE(kCopy.transfer(from, to));
        EXPECT_TRUE(ReadWhole(to) == text) << "the kernel said that there is no more";
    });
    for (const char* call : {"fallocate", "mmap", "write", "munmap", "copy_file_range"}) {
        SCOPED_TRACE(std::string("the source is truncated before ") + call);
        std::ofstream(from, std::ios::binary) << text;
        {
            const Guard shrinks = AtCall(call, [&] { return fs::resize_file(from, 1234567), 0; });
            EXPECT_TRUE(UnderFaults([&] { return kCopy.transfer(from, to); }));
        }
        EXPECT_TRUE(ReadWhole(to) == text.substr(0, 1234567)) << "a tail of zeros";
        EXPECT_LT(Facts(to).st_blocks, 2600) << "room stays reserved";
    }
    fs::resize_file(from, 16U << 20U);
    for (const Way& way : {kCopy, kNativeCopy}) {
        EXPECT_TRUE(way.transfer(from, to)) << way.name;
        EXPECT_LE(Facts(to).st_blocks, Facts(from).st_blocks + 16) << "holes are filled";
        EXPECT_TRUE(ReadWhole(to) == ReadWhole(from));
    }
}

TEST(Transfers, Targets_AreOpenedAsTheyAreAndOnlyOnesOwnMadeWritable) {
    const TemporaryDirectory place;
    const std::string from = place.Write("from", "new"), to = place.Write("to", "old");
    for (const Way& way : {kCopy, kNativeCopy}) {
        // As sticky directories do, by the usual protection, with the files of others.
        InSandbox(SYS_openat, 2, O_CREAT, EACCES,
                  [&] { EXPECT_TRUE(way.transfer(from, to)) << way.name; });
        EXPECT_EQ(ReadWhole(to), "new");
    }
    const struct {
        uid_t owner;
        int refusals;  ///< To open the target.
        bool done;
    } cases[] = {{geteuid(), 1, true}, {geteuid(), 2, false}, {geteuid() + 1, 1, false}};
    for (const auto& each : cases) {
        SCOPED_TRACE(std::to_string(each.owner) + ", " + std::to_string(each.refusals));
        place.Write("to", "old");
        if (chown(to.c_str(), each.owner, getegid()) + chmod(to.c_str(), 0404) != 0) {
            GTEST_SKIP() << "files cannot be given away";
        }
        int opened = 0;
        const Guard refused = AtCall(
            "open", [&] { return ++opened > 1 && opened <= 1 + each.refusals ? EACCES : 0; });
        EXPECT_EQ(UnderFaults([&] { return kCopy.transfer(from, to); }), each.done);
        EXPECT_EQ(ReadWhole(to), each.done ? "new" : "old");
        EXPECT_EQ(ModeOf(to), each.done ? ModeOf(from) : 0404U);
    }
    {
        const Guard uncut = AtCall("ftruncate", [] { return EPERM; });
        EXPECT_FALSE(
            UnderFaults([&] { return kCopy.transfer(from, place.Write("long", "older")); }));
        EXPECT_EQ(ReadWhole(place / "long"), "older") << "nothing was touched";
        unsigned mode = 0;
        const Guard made = AtCall("fchmod", [&] { return mode = ModeOf(place / "made"), 0; });
        EXPECT_TRUE(UnderFaults([&] { return kCopy.transfer(from, place / "made"); }));
        EXPECT_EQ(mode, 0600U) << "others could open it before it has its permissions";
    }
    int calls = 0;
    {
        const Guard refused = AtCall("open", [&] { return ++calls == 2 ? EACCES : 0; });
        UnderFaults([&] { return kelFile::NativeCopy(to, to, kelFileInfo::PermissionDefault); });
        EXPECT_EQ(ModeOf(to), 0404U) << "onto itself, though it may not be written";
    }
    calls = 0;
    const Guard becomesTheSource = AtCall("open", [&] {
        if (++calls == 2) {
            fs::create_hard_link(from, place / "hard");
            fs::rename(place / "hard", to);
        }
        return 0;
    });
    EXPECT_FALSE(UnderFaults([&] { return kCopy.transfer(from, to); }));
    EXPECT_EQ(ReadWhole(from), "new");
}

TEST(Transfers, SetIdAndStickyBits_AreKeptWhereTheOwnerIs) {
    const TemporaryDirectory place("/dev/shm");
    const struct {
        uid_t owner;
        gid_t group;
        unsigned copied;  ///< What a copy has of 07751.
    } cases[] = {{geteuid(), getegid(), 07751},
                 {geteuid() + 1, getegid(), 03751},
                 {geteuid(), getegid() + 1, 05751}};
    for (const auto& each : cases) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name + " of " + std::to_string(each.owner));
            const std::string from = place.Write("from", "text"), to = place / "to";
            if (chown(from.c_str(), each.owner, each.group) != 0) {
                GTEST_SKIP() << "files cannot be given away";
            }
            EXPECT_EQ(chmod(from.c_str(), 07751), 0);
            const bool marked = setxattr(from.c_str(), "user.zukel", "a", 1, 0) == 0;
            EXPECT_TRUE(way.transfer(from, to));
            EXPECT_EQ(ModeOf(to), way.name == "Move" ? 07751 : each.copied);
            EXPECT_EQ(getxattr(to.c_str(), "user.zukel", nullptr, 0) == 1,
                      marked && way.name == "Move");
            EXPECT_EQ(fs::remove(from), way.name != "Move");
            fs::remove(to);
        }
    }
}

TEST(Transfers, TheLeastStack_IsEnough) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes more";
#endif
    static const TemporaryDirectory place("/dev/shm");
    place.Write("from", Noise(3U << 20U));
    pthread_attr_t least;
    pthread_attr_init(&least);
    ASSERT_EQ(pthread_attr_setstacksize(&least, 16384), 0);
    for (const Way& way : kWays) {
        pthread_t thread;
        const auto run = [](void* each) -> void* {
            const bool done = static_cast<const Way*>(each)->transfer(place / "from", place / "to");
            return done ? each : nullptr;
        };
        void* done = nullptr;
        ASSERT_EQ(pthread_create(&thread, &least, run, const_cast<Way*>(&way)), 0);
        EXPECT_EQ(pthread_join(thread, &done), 0);
        EXPECT_TRUE(done != nullptr) << way.name;
    }
    pthread_attr_destroy(&least);
}

}  // namespace
