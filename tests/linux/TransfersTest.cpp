// Copies and moves on Linux beside writers, limits, access lists, sandboxes and volumes that lack
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

/// Appends a line as a logger does that opens its file each time; false if it could not.
bool Append(const std::string& name, const std::string& line, int flags) {
    const int file = open(name.c_str(), O_WRONLY | O_APPEND | flags, 0666);
    const bool written = file >= 0 && write(file, line.data(), line.size()) == ssize_t(line.size());
    return file >= 0 && close(file) == 0 && written;
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

TEST(Transfers, WhatIsWrittenBeforeAnyCallOfAMove_IsThereAfterIt) {
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to";
    const auto append = [&] { return Append(from, "more\n", O_NONBLOCK); };
    const auto restrict = [&] { return chmod(from.c_str(), 0400) == 0; };
    // Both without a trace in size and time.
    const auto keepTime = [&](const std::string& name, const std::function<bool()>& change) {
        const auto time = fs::last_write_time(from);
        const bool changed = change();
        return changed ? fs::last_write_time(name, time), true : false;
    };
    const auto replace = [&] {
        return fs::exists(from) &&
               keepTime(place / "new", [&] { return !place.Write("new", "LINE\n").empty(); }) &&
               std::rename((place / "new").c_str(), from.c_str()) == 0;
    };
    const auto overwrite = [&] {
        return fs::exists(from) && keepTime(from, [&] {
                   const int file = open(from.c_str(), O_WRONLY | O_NONBLOCK);
                   const bool written = file >= 0 && write(file, "LINE", 4) == 4;
                   return file >= 0 && close(file) == 0 && written;
               });
    };
    const std::vector<const char*> few = {"fstatat", "fsync", "renameat2"};
    const std::vector<const char*> all = {"fcntl",     "fstatat",  "fsync", "openat",
                                          "renameat2", "unlinkat", "write"};
    const struct {
        const char* name;
        bool heldOpen;  ///< For writing: the system lends no lease then.
        std::vector<const char*> calls;
        std::function<bool()> meddle;
        std::string result;
    } cases[] = {{"append", false, all, append, "line\nmore\n"},
                 {"append to an open file", true, few, append, "line\nmore\n"},
                 {"restrict", false, all, restrict, "line\n"},
                 {"replace", false, all, replace, "LINE\n"},
                 {"overwrite", false, all, overwrite, "LINE\n"}};
    for (const auto& each : cases) {
        for (const char* call : each.calls) {
            int calls = 0;
            for (int nth = 1; nth == 1 || calls >= nth - 1; ++nth) {
                SCOPED_TRACE(std::string(each.name) + " before " + call + std::to_string(nth));
                place.Write("from", "line\n");
                const int holder = each.heldOpen ? open(from.c_str(), O_WRONLY) : -1;
                chmod(from.c_str(), 0644);
                bool done = false;
                unsigned mode = 0644;
                calls = 0;
                const Guard meanwhile = AtCall(call, [&] {
                    if (++calls == nth) {
                        done = each.meddle();
                        mode = done ? ModeOf(from) : mode;
                    }
                    return 0;
                });
                const bool moved = UnderFaults([&] { return kMove.transfer(from, to); });
                close(holder);
                const std::string expected = done ? each.result : "line\n";
                EXPECT_EQ(ModeOf(fs::exists(from) ? from : to), mode);
                EXPECT_TRUE((fs::exists(from) && ReadWhole(from) == expected) ||
                            (fs::exists(to) && ReadWhole(to) == expected));
                EXPECT_TRUE(moved || calls >= nth) << "without cause";
                EXPECT_EQ(place.Count(), fs::exists(from) && moved ? 2 : 1) << "a name is left";
                fs::remove(from);
                fs::remove(to);
            }
        }
    }
    place.Write("from", "line\n");
    std::thread waiting;
    bool accepted = false;
    const Guard synced = AtCall("fsync", [&] {
        if (!waiting.joinable()) {
            waiting = std::thread([&] { accepted = Append(from, "more\n", 0); });
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return 0;
    });
    UnderFaults([&] { return kMove.transfer(from, to); });
    waiting.join();
    EXPECT_EQ(ReadWhole(fs::exists(from) ? from : to), accepted ? "line\nmore\n" : "line\n");
}

TEST(Transfers, Threads_ALoggerLosesNoLineToMoves) {
    const TemporaryDirectory place("/dev/shm");
    std::atomic<bool> goes{true};
    std::size_t accepted = 0, found = 0;
    std::thread logger([&] {
        while (goes) {
            accepted += Append(place / "log", "line\n", O_CREAT) ? 1U : 0U;
        }
    });
    int moves = 0;
    for (int round = 0; round < 100000 && moves < 150; ++round) {
        moves += kMove.transfer(place / "log", place / std::to_string(moves)) ? 1 : 0;
    }
    goes = false;
    logger.join();
    for (const auto& file : fs::directory_iterator(place.Path())) {
        found += fs::file_size(file) / std::strlen("line\n");
    }
    EXPECT_EQ(found, accepted) << "after " << moves << " moves";
    EXPECT_GT(moves, 0);
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
    struct Entry {
        std::uint16_t tag, rights;
        std::uint32_t id;
    };
    constexpr std::uint16_t kOwner = 1, kUser = 2, kGroup = 4, kNamed = 8, kMask = 16, kOther = 32;
    constexpr std::uint32_t kNobody = 0xFFFFFFFF;
    const auto list = [](const std::vector<Entry>& entries) {
        return std::string("\2\0\0\0", 4) +
               std::string(reinterpret_cast<const char*>(entries.data()), entries.size() * 8);
    };
    const auto get = [](const std::string& name) {
        char value[200];
        const ssize_t size = getxattr(name.c_str(), "system.posix_acl_access", value, 200);
        return std::string(value, size > 0 ? static_cast<std::size_t>(size) : 0);
    };
    const struct {
        const char* name;
        std::string list;
        unsigned mode, alone;  ///< As it shows, and on a volume without lists.
    } cases[] = {{"none", "", 0640, 0640},
                 {"a user more than the group",
                  list({{kOwner, 6, kNobody},
                        {kUser, 4, 1234},
                        {kGroup, 0, kNobody},
                        {kMask, 4, kNobody},
                        {kOther, 0, kNobody}}),
                  0640, 0600},
                 {"a user less than the others",
                  list({{kOwner, 7, kNobody},
                        {kUser, 4, 1234},
                        {kGroup, 5, kNobody},
                        {kMask, 7, kNobody},
                        {kOther, 5, kNobody}}),
                  0775, 0744},
                 {"a group less than the others",
                  list({{kOwner, 6, kNobody},
                        {kGroup, 6, kNobody},
                        {kNamed, 4, 1234},
                        {kMask, 6, kNobody},
                        {kOther, 6, kNobody}}),
                  0666, 0664},
                 {"a mask less than the others",
                  list({{kOwner, 6, kNobody},
                        {kGroup, 6, kNobody},
                        {kNamed, 6, 1234},
                        {kMask, 4, kNobody},
                        {kOther, 6, kNobody}}),
                  0646, 0644},
                 {"nobody named",
                  list({{kOwner, 6, kNobody},
                        {kGroup, 6, kNobody},
                        {kMask, 4, kNobody},
                        {kOther, 6, kNobody}}),
                  0646, 0646}};
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to", folders = cases[1].list;
    if (setxattr(place.Path().c_str(), "system.posix_acl_default", folders.data(), folders.size(),
                 0) != 0) {
        GTEST_SKIP() << "no access lists here";
    }
    for (const auto& each : cases) {
        for (const Way& way : kWays) {
            for (const bool keeps : {true, false}) {
                SCOPED_TRACE(way.name + ", " + each.name + (keeps ? "" : ", kept nowhere"));
                place.Write("from", "text");
                removexattr(from.c_str(), "system.posix_acl_access");
                EXPECT_EQ(chmod(from.c_str(), each.mode), 0);
                EXPECT_TRUE(each.list.empty() ||
                            setxattr(from.c_str(), "system.posix_acl_access", each.list.data(),
                                     each.list.size(), 0) == 0);
                const Guard lacking = AtCall("fsetxattr", [&] { return keeps ? 0 : ENOTSUP; });
                EXPECT_TRUE(UnderFaults([&] { return way.transfer(from, to); }));
                EXPECT_EQ(get(to), keeps ? each.list : "");
                EXPECT_EQ(ModeOf(to), keeps ? each.mode : each.alone);
                fs::remove(to);
            }
        }
    }
}

TEST(Transfers, RefusedAndInterruptedCalls_FailNothing) {
    const TemporaryDirectory disk, memory("/dev/shm");  // nothing is synced on the first
    const std::string text = Noise(1100000);
    const std::vector<int> refusals = {ENOSYS, EACCES, EPERM, ENOTSUP, EINVAL}, once = {EINTR};
    const struct {
        const char* call;
        std::vector<int> errors;
    } cases[] = {{"fchmod", refusals},
                 {"fchown", refusals},
                 {"futimens", refusals},
                 {"fremovexattr", refusals},
                 {"fgetxattr", refusals},
                 {"flistxattr", refusals},
                 {"copy_file_range", refusals},
                 {"ioctl", refusals},
                 {"fallocate", refusals},
                 {"renameat2", refusals},
                 {"fcntl", refusals},
                 {"open", once},
                 {"openat", once},
                 {"read", once},
                 {"write", once},
                 {"ftruncate", once},
                 {"copy_file_range", once},
                 {"ioctl", once},
                 {"fallocate", once},
                 {"fsync", once}};
    for (const auto& each : cases) {
        for (const int error : each.errors) {
            for (const Way& way : kWays) {
                const TemporaryDirectory& place = way.name == "Move" ? memory : disk;
                const std::string from = place.Write("from", text), to = place.Write("to", "old");
                SCOPED_TRACE(way.name + ": " + each.call + ", " + std::strerror(error));
                int calls = 0;
                const Guard at =
                    AtCall(each.call, [&] { return error != EINTR || ++calls == 1 ? error : 0; });
                EXPECT_TRUE(UnderFaults([&] { return way.transfer(from, to); }));
                EXPECT_TRUE(ReadWhole(to) == text);
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
    {
        const Guard shrinks =
            AtCall("copy_file_range", [&] { return fs::resize_file(from, 1234567), 0; });
        EXPECT_TRUE(UnderFaults([&] { return kCopy.transfer(from, to); }));
    }
    EXPECT_TRUE(ReadWhole(to) == text.substr(0, 1234567)) << "a tail of zeros";
    EXPECT_LT(Facts(to).st_blocks, 2600) << "room stays reserved";
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
        unsigned mode, copied;
    } cases[] = {{geteuid(), getegid(), 07751, 07751},
                 {geteuid() + 1, getegid(), 07751, 03751},
                 {geteuid(), getegid() + 1, 07751, 05751}};
    for (const auto& each : cases) {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name + " of " + std::to_string(each.owner));
            const std::string from = place.Write("from", "text"), to = place / "to";
            if (chown(from.c_str(), each.owner, each.group) != 0) {
                GTEST_SKIP() << "files cannot be given away";
            }
            EXPECT_EQ(chmod(from.c_str(), each.mode), 0);
            const bool marked = setxattr(from.c_str(), "user.zukel", "a", 1, 0) == 0;
            EXPECT_TRUE(way.transfer(from, to));
            EXPECT_EQ(ModeOf(to), way.name == "Move" ? each.mode : each.copied);
            EXPECT_EQ(getxattr(to.c_str(), "user.zukel", nullptr, 0) == 1,
                      marked && way.name == "Move");
            EXPECT_EQ(fs::remove(from), way.name != "Move");
            fs::remove(to);
        }
    }
}

TEST(Transfers, AMoveSyncsTheNewNameAndNeverLosesTheFormerTarget) {
    const TemporaryDirectory place("/dev/shm");
    const std::string from = place / "from", to = place / "to";
    bool strikes = true;
    for (int nth = 1; strikes; ++nth) {
        SCOPED_TRACE(nth);
        fs::remove_all(place.Path());
        fs::create_directory(place.Path());
        place.Write("from", "new");
        place.Write("to", "old");
        const Guard stuck = AtCall("renameat", [] { return EIO; });
        const Guard fails = Arm({FaultSource::System, nth, true});
        const bool moved = UnderFaults([&] { return kMove.transfer(from, to); });
        strikes = !fault.struck.empty();
        std::string all;
        for (const auto& file : fs::directory_iterator(place.Path())) {
            all += ReadWhole(file.path());
        }
        EXPECT_NE(all.find(moved ? "new" : "old"), std::string::npos) << fault.struck;
    }
    std::vector<std::string> synced;
    place.Write("from", "newer");
    const Guard sync = AtCall("fsync", [&] { return synced.push_back(ReadWhole(to)), 0; });
    EXPECT_TRUE(UnderFaults([&] { return kMove.transfer(from, to); }));
    EXPECT_EQ(synced, (std::vector<std::string>{"new", "newer"})) << "the file, then its name";
    place.Write("from", "newest");
    int renamed = 0;
    const Guard gone =
        AtCall("renameat2", [&] { return ++renamed == 2 ? unlink(from.c_str()) : 0; });
    EXPECT_TRUE(UnderFaults([&] { return kMove.transfer(from, to); })) << "gone by itself";
    EXPECT_EQ(ReadWhole(to), "newest");
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
