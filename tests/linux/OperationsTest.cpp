// Operations on Linux in several copies of the library and in a sandbox; and figures beside those
// that the system tells.

#include <dlfcn.h>
#include <grp.h>

#include "linux/Users.h"

using namespace zukel::test;
using Operations = InDirectory;

/// The thread sanitizer does not know the lock that guards this for one of threads.
TEST(Apr, CopiesOfTheLibraryInOneProcess_StartAndStopItAtTheSameTime) {
    const auto run = [] {
        std::vector<int (*)(int)> uses;
        for (const std::string copy : {"/copy1.dll", "/copy2.dll"}) {
            void* const module = dlopen((ZUKEL_TEST_MODULES + copy).c_str(), RTLD_NOW | RTLD_LOCAL);
            uses.push_back(reinterpret_cast<int (*)(int)>(dlsym(module, "StartAndStop")));
        }
        std::atomic<int> failed{0};
        InThreads(4, [&](int number) { failed += uses[std::size_t(number) % 2](20000); });
        _exit(failed == 0 ? 0 : 1);
    };
    for (int trial = 0; trial < 3; ++trial) {
        EXPECT_EXIT(run(), testing::ExitedWithCode(0), "") << "trial " << trial;
    }
}

TEST_F(Operations, RightsAreTheEffectiveUsersAlsoWhereASandboxRefusesToTell) {
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string name = directory.Write("file");
    kelFile file(name, kRead);
    {
        const Guard refused = Failing("faccessat", EPERM);
        EXPECT_TRUE(UnderFaults([&] { return kelFile::Exists(name); }));
    }
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
    for (const auto& row : rows) {
        EXPECT_EQ(chown(name.c_str(), row.owner, row.group), 0);
        fs::permissions(name, fs::perms(row.mode));
        for (const int error : {0, EPERM}) {
            const auto exitWithRights = [&] {
                const gid_t further = 4242;
                setgroups(1, &further), setresuid(row.real, row.effective, 0);
                const Guard refused = Failing("faccessat", error);
                _exit(UnderFaults([&] { return file.IsReadable() * 4 + file.IsWritable() * 2; }));
            };
            EXPECT_EXIT(exitWithRights(), testing::ExitedWithCode(row.rights), "")
                << row.real << " as " << row.effective << " of " << row.owner << ':' << row.group
                << ", mode " << std::oct << row.mode << (error != 0 ? ", faccessat refused" : "");
        }
    }
}

TEST_F(Operations, DeleteTreeIsNotLedOutByADirectoryThatIsMovedOrSwappedForALink) {
    fs::create_directories("victim/moves"), directory.Write("victim/file");
    const auto move = [&] {
        std::error_code gone;  // when it has been removed by then
        fs::rename("tree/moves", "victim/moved", gone);
        fs::create_directory_symlink(directory / "victim", "tree/moves", gone);
    };
    BeforeEachCall("", move, [&] {
        fs::create_directories("tree/moves/a/b"), directory.Write("tree/moves/file");
        UnderFaults([] { return kelDirectory::DeleteTree("tree"); });
        fs::remove_all("victim/moved"), fs::remove_all("tree");
        ASSERT_EQ(directory.Count(), 3) << "the victim is not whole";
    });
}

TEST_F(Operations, ReplaceWholeSyncsTheContentsBeforeTheyHaveTheName) {
    directory.Write("file", "old");
    std::vector<std::string> synced;
    const Guard sync = AtCall("fsync", [&] { return synced.push_back(ReadWhole("file")), 0; });
    EXPECT_EQ(UnderFaults([] { return kelFile::ReplaceWhole("file", "new"); }), kOk);
    EXPECT_THAT(synced, ElementsAre("old", "new")) << "the contents, then the name";
}

TEST_F(Operations, ReplaceWholeKeepsTheFormerFileIfTheNewOneIsNotWhole) {
    directory.Write("file", "old");
    for (const char* call : {"write", "fchown", "fchmod", "fsync", "close", "renameat"}) {
        const Guard failing = Failing(call, EIO);
        EXPECT_EQ(UnderFaults([] { return kelFile::ReplaceWhole("file", "new"); }), kFailed)
            << call;
        EXPECT_EQ(ReadWhole("file"), "old") << call;
        EXPECT_EQ(directory.Count(), 1) << call;
    }
}

TEST_F(Operations, ReplaceWholeGoesOnWhateverOthersPutUnderItsName) {
    const auto put = [&] { std::rename(directory.Write("theirs", "theirs").c_str(), "file"); };
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"another file", put},
        {"nothing", [] { fs::remove("file"); }},
        {"a link", [&] { put(), fs::rename("file", "there"), MakeLink("there", "file"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        bool replaced = false;
        const auto meddle = [&] { replaced = ReadWhole("file") == "new", row.second(); };
        BeforeEachCall("", meddle, [&] {
            fs::remove("file"), directory.Write("file", "old");
            replaced = false;
            EXPECT_EQ(UnderFaults([] { return kelFile::ReplaceWhole("file", "new"); }), kOk);
            EXPECT_TRUE(replaced || ReadWhole("file") == "new") << ReadWhole("file");
        });
    }
    for (const bool pipe : {false, true}) {
        SCOPED_TRACE(pipe ? "a pipe" : "a file of one's own alone");
        fs::remove("file"), directory.Write("file", "old");
        const Guard meanwhile = AtCall("faccessat", [&] {
            put(), fs::permissions("file", fs::perms(0600));
            return pipe ? fs::remove("file"), mkfifo("file", 0600) : 0;
        });
        EXPECT_EQ(UnderFaults([] { return kelFile::ReplaceWhole("file", "new"); }),
                  pipe ? kFailed : kOk);
        EXPECT_EQ(fs::is_fifo("file"), pipe);
        EXPECT_EQ(ModeOf("file"), 0600U);
    }
}

/// The kilobytes of a field of `/proc/meminfo`.
static unsigned long long Field(const std::string& name) {
    const std::string text = "\n" + ReadWhole("/proc/meminfo");
    return std::stoull(text.substr(text.find("\n" + name + ":") + name.size() + 2));
}

TEST_F(Operations, FiguresAreThoseOfTheSystem) {
    EXPECT_EQ(kelSystem::TotalPagingMemory(), Field("CommitLimit"));
    EXPECT_LE(kelSystem::TotalPhysicalMemory(), Field("MemTotal"));
    const auto available = [] { return Field("CommitLimit") - Field("Committed_AS"); };
    EXPECT_TRUE(Eventually([&] {  // it moves meanwhile
        const auto before = available(), given = kelSystem::AvailablePagingMemory();
        const auto [least, most] = std::minmax({before, available()});
        return std::clamp(given, least, most) == given;
    })) << kelSystem::AvailablePagingMemory()
        << " for " << available();
#ifndef __x86_64__
    const auto stack = reinterpret_cast<std::uintptr_t>(&available);
    EXPECT_GT(kelSystem::TotalVirtualMemory() << 10U, stack);
    EXPECT_LT(kelSystem::TotalVirtualMemory() << 8U, stack) << "the stack is at the upper end";
#endif
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), 1ULL << 37U) << "what the processor offers";
    const rlimit limit{rlim_t{1} << 42U, RLIM_INFINITY};
    rlimit former{};
    EXPECT_EQ(getrlimit(RLIMIT_AS, &former), 0);
    const Guard back([former] { setrlimit(RLIMIT_AS, &former); });
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    EXPECT_EQ(kelSystem::TotalVirtualMemory(), 1ULL << 32U);
    const auto pages = std::stoull(ReadWhole("/proc/self/statm"));
    const auto page = static_cast<unsigned>(getpagesize());
    EXPECT_NEAR(double(kelSystem::UsedVirtualMemory()), double(pages * page / 1024), 1e3);
#endif
}
