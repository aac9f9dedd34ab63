// What callers see on Linux alone: users and their rights, signals, devices and limits.

#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <clocale>
#include <csignal>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;

namespace {

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails.
void LimitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(Linux, Rights_AreTheUsersAndPermissionsThoseOfTheFile) {
    umask(026);
    const TemporaryDirectory open, closed;
    fs::permissions(open.Path(), fs::perms::all);
    fs::permissions(closed.Path(), fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(open.Write("roots"), fs::perms::group_read);
    const Guard user = Unprivileged();
    kelFile file;
    const std::string name = open / kOddName, to = open / "to";
    EXPECT_TRUE(All(kelStatusAccessDenied, {file.Open(open / "roots", kWrite),
                                            file.CreateTemporaryFile(closed / "XXXXXX")}));
    EXPECT_EQ(file.Open(name, kWrite) + file.Write('x') + file.Close(), kOk);
    for (const auto& [perms, bits] :
         {std::pair{0x600, 0600U}, {0x400, 0400U}, {0x200, 0200U}, {0x1FF, 0U}}) {
        fs::permissions(name, fs::perms(04250));
        EXPECT_EQ(kelFile::SetPermissions(name, perms), kOk);
        EXPECT_EQ(ModeOf(name), bits | 04050U) << std::hex << perms;
        EXPECT_EQ(file.IsReadable() * 0400U + file.IsWritable() * 0200U, bits);
    }
    fs::last_write_time(name, fs::last_write_time(name) - std::chrono::hours(99));
    // Permissions, natively; modes of the source, of a new target, and of one that stood.
    const std::tuple<int, bool, unsigned, unsigned, unsigned> copies[] = {
        {0, true, 0444, 0444, 0444},      {0xFFF, true, 0444, 0644, 0644},
        {0x644, false, 0604, 0640, 0622}, {0x1000, false, 0604, 0604, 0604},
        {0, true, 04751, 04751, 04751},   {0x8644, false, 0604, 04640, 0622}};
    for (const auto& [perms, native, source, made, replaced] : copies) {
        fs::permissions(name, fs::perms(source));
        for (const unsigned mode : {made, replaced}) {
            EXPECT_EQ(
                native ? kelFile::NativeCopy(name, to, perms) : kelFile::Copy(name, to, perms),
                kOk);
            EXPECT_EQ(ModeOf(to), mode) << perms;
            EXPECT_EQ(fs::last_write_time(to) == fs::last_write_time(name), native);
            fs::permissions(to, fs::perms(perms == 0x1000 ? 0400 : 0622));
        }
        fs::remove(to);
    }
}

TEST(Linux, FullDevices_LoseNothingUntold) {
    constexpr unsigned long long kBuffer = 16384;
    std::string text(400000, 'x');
    for (unsigned long long before : {0ULL, 1ULL, kBuffer - 1, kBuffer}) {
        kelFile full("/dev/full", kWrite | kBuffered), direct("/dev/full", kWrite);
        unsigned long long rest = 40000, none = 1;
        EXPECT_EQ(full.Write(text.data(), before), kOk) << before;
        EXPECT_TRUE(All(kFailed, {full.Write(text.data(), rest), direct.Write(text.data(), none)}));
        EXPECT_EQ(rest, before == 0 ? 0 : kBuffer - before) << "what an unfilled buffer still took";
        EXPECT_EQ(full.Write(1.0), before == 0 ? kOk : kFailed);
        EXPECT_TRUE(All(kFailed, {full.SeekToBegin(), full.Close()}));
        EXPECT_TRUE(none == 0 && !direct.EndOfFile() && !full.IsOpen());
    }
    const TemporaryDirectory directory;
    const Guard here = WorkingDirectory(directory.Path());
    std::generate(text.begin(), text.end(), std::minstd_rand());
    kelFile file("file", kWrite | kBuffered);
    std::signal(SIGXFSZ, SIG_IGN);
    const auto write = [&](unsigned long long at, unsigned long long size) {
        EXPECT_EQ(file.Write(text.data() + at, size), kOk) << size << " bytes at " << at;
    };
    LimitFileSize(6000);
    write(0, 4000);
    EXPECT_EQ(file.Flush(), kOk);
    write(4000, 3000);
    EXPECT_EQ(file.Flush(), kFailed) << "which reaches the file in part";
    write(7000, 4);
    EXPECT_EQ(file.WriteLine(std::string(4000, 'w').c_str()), kFailed) << "whole or not at all";
    unsigned long long taken = 20000;
    EXPECT_EQ(file.Write(text.data() + 7004, taken), kFailed);
    LimitFileSize(10000);
    unsigned long long more = 20000;
    EXPECT_EQ(file.Write(text.data() + 7004 + taken, more), kFailed) << "past the buffer in part";
    LimitFileSize(RLIM_INFINITY);
    write(7004 + taken + more, text.size() - 7004 - taken - more);
    EXPECT_EQ(file.Close(), kOk) << "there is room again";
    EXPECT_TRUE(ReadWhole("file") == text) << "each byte once";
    LimitFileSize(100000);
    std::signal(SIGXFSZ, SIG_DFL);  // which ends the process
    EXPECT_EQ(kelSharedMemory().Create(100001, directory / "segment"), kFailed);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const bool native : {false, true}) {
        const auto copy = [native](const std::string& from, const std::string& to) {
            return native ? kelFile::NativeCopy(from, to, 0) : kelFile::Copy(from, to, 0x644);
        };
        fs::create_hard_link(directory.Write("old", "old"), "hard");
        EXPECT_TRUE(All(kFailed, {copy("missing", "old"), copy(directory.Path(), "old"),
                                  copy("/proc/self/mem", "old")}));
        EXPECT_EQ(ReadWhole("old"), "old") << "nothing could be read";
        EXPECT_TRUE(
            All(kFailed, {copy("file", "new"), copy("file", "old"), copy("file", "/dev/full")}));
        EXPECT_EQ(ReadWhole("hard"), "") << "no part under another name";
        EXPECT_TRUE(fs::remove("hard") && directory.Count() == 1);
    }
    LimitFileSize(RLIM_INFINITY);
}

TEST(Linux, FactsOfAFile_AreAllItsBitsAndMicroseconds) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe", socket = directory / "socket";
    EXPECT_EQ(mknod(name.c_str(), S_IFIFO, 0) + mknod(socket.c_str(), S_IFSOCK, 0), 0);
    const timespec times[] = {{1000000000, 123456789}, {-5, 999998999}};
    EXPECT_EQ(utimensat(AT_FDCWD, name.c_str(), times, 0) + chmod(name.c_str(), 04751), 0);
    const kelFileInfo info(name);
    EXPECT_TRUE(info.GetLastAccessTime() == 1000000000123456 &&
                info.GetLastModifiedTime() == -4000002);
    EXPECT_EQ(info.GetPermissions(), 0x751 | kelFileInfo::PermissionSetUser);
    EXPECT_TRUE(kelFileInfo(socket).GetType() == kelFileInfo::Socket &&
                info.GetType() == kelFileInfo::Pipe);
    fs::create_symlink("anywhere", directory / "link");
    EXPECT_EQ(kelFileInfo(directory / "link").GetType(), kelFileInfo::Link);
}

TEST(Linux, UserTempDirAndLocale_AreThoseOfTheSystem) {
    const TemporaryDirectory directory;
    kelLibrary library;
    setenv("TMPDIR", directory.Path().c_str(), 1);
    EXPECT_EQ(library.GetTempDir(), directory.Path());
    unsetenv("TMPDIR");
    zuString name;
    const passwd& user = *getpwuid(getuid());
    EXPECT_TRUE(library.GetCurrentUserName(name) == kOk && name == user.pw_name);
    EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), user.pw_dir + std::string("/x"));
    int tooSmall = 4;  // rooms for the user's record
    const Guard longer = AtCall("getpwuid_r", [&] { return tooSmall-- > 0 ? ERANGE : 0; });
    EXPECT_EQ(UnderFaults([&] { return library.GetUserDirectory(name); }), kOk);
    EXPECT_EQ(name, user.pw_dir);
    const std::string made = directory / "fr_BE@euro";
    const std::string make = "localedef --no-archive -c -i POSIX -f ISO-8859-15 " + made;
    // Its result says no more than that categories are left out.
    if (std::system((make + " >/dev/null 2>&1").c_str()) == -1 || !fs::exists(made + "/LC_CTYPE")) {
        GTEST_SKIP() << "no locale can be made: is the package locales installed?";
    }
    setenv("LOCPATH", directory.Path().c_str(), 1);
    setenv("LC_ALL", "fr_BE@euro", 1);
    EXPECT_STREQ(library.GetLocale(), "fr_BE.28605") << "the user's: the program has chosen none";
    std::setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(library.GetLocale(), nullptr) << "the program's own";
    std::setlocale(LC_ALL, "C");
    unsetenv("LC_ALL");
    unsetenv("LOCPATH");
}

TEST(Linux, Sleep_GoesOnThroughSignals) {
    std::signal(SIGALRM, [](int) {});
    const long long before = kelTime::GetNow().GetMicroSeconds();
    ualarm(1000, 1000);
    EXPECT_EQ(kelTime::Sleep(30000), kOk);
    ualarm(0, 0);
    EXPECT_GE(kelTime::GetNow().GetMicroSeconds(), before + 30000);
}

TEST(Linux, AReadThatIsCancelledWhileItWaits_GetsItsLineFirst) {
    struct Reader {
        TemporaryDirectory directory;
        std::string pipe = directory / "pipe";
        char line[8] = "";
        std::atomic<bool> waits{false};
    } reader;
    ASSERT_EQ(mkfifo(reader.pipe.c_str(), 0600), 0);
    const int end = open(reader.pipe.c_str(), O_RDWR | O_CLOEXEC);
    const auto body = [](void* argument) -> void* {
        auto& own = *static_cast<Reader*>(argument);
        kelFile in(own.pipe, kRead);
        own.waits = true;
        EXPECT_EQ(in.ReadLine(own.line, sizeof own.line), kOk);
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread{};
    void* result = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, body, &reader), 0);
    EXPECT_TRUE(Eventually([&] { return reader.waits.load(); }));
    pthread_cancel(thread);
    EXPECT_EQ(write(end, "a\n", 2), 2);
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_STREQ(reader.line, "a\n");
    close(end);
}

}  // namespace
