// What callers see on Linux alone: users and their rights, signals, devices and limits.

#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>

#include "linux/Users.h"
#include "support/Faults.h"

using namespace zukel::test;
using Linux = InDirectory;

namespace {

TEST_F(Linux, Rights_AreTheUsersAndPermissionsThoseOfTheFile) {
    umask(026);
    const TemporaryDirectory closed;
    fs::permissions(".", fs::perms::all);
    fs::permissions(closed.Path(), fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(directory.Write("roots"), fs::perms::group_read);
    const Guard user = Unprivileged();
    kelFile file;
    EXPECT_EQ(file.Open("roots", kWrite), kelStatusAccessDenied);
    EXPECT_EQ(file.CreateTemporaryFile(closed / "XXXXXX"), kelStatusAccessDenied);
    EXPECT_EQ(file.Open(kOddName, kWrite), kOk);
    EXPECT_THAT(Statuses({file.Write('x'), file.Close()}), Each(kOk));
    EXPECT_EQ(ModeOf(kOddName), 0640U);
    for (const auto& [perms, bits] :
         {std::pair{0x600, 0600U}, {0x400, 0400U}, {0x200, 0200U}, {0x1FF, 0U}}) {
        SCOPED_TRACE(perms);
        fs::permissions(kOddName, fs::perms(04250));
        EXPECT_EQ(kelFile::SetPermissions(kOddName, perms), kOk);
        EXPECT_EQ(ModeOf(kOddName), bits | 04050U);
        EXPECT_EQ(file.IsReadable(), (bits & 0400U) != 0);
        EXPECT_EQ(file.IsWritable(), (bits & 0200U) != 0);
    }
}

TEST_F(Linux, PermissionsOfCopies_Table) {
    umask(026);
    directory.Write("from");
    fs::last_write_time("from", fs::last_write_time("from") - std::chrono::hours(99));
    const struct {
        int perms;
        bool native;
        unsigned source, newTarget, existingTarget;
    } rows[] = {{0, true, 0444, 0444, 0444},      {0xFFF, true, 0444, 0644, 0644},
                {0x644, false, 0604, 0640, 0622}, {0x1000, false, 0604, 0604, 0604},
                {0, true, 04751, 04751, 04751},   {0x8644, false, 0604, 04640, 0622}};
    for (const auto& [perms, native, source, newTarget, existingTarget] : rows) {
        SCOPED_TRACE(std::to_string(perms) + (native ? " natively" : ""));
        fs::permissions("from", fs::perms(source));
        for (const unsigned mode : {newTarget, existingTarget}) {
            EXPECT_EQ(native ? kelFile::NativeCopy("from", "to", perms)
                             : kelFile::Copy("from", "to", perms),
                      kOk);
            EXPECT_EQ(ModeOf("to"), mode);
            EXPECT_EQ(fs::last_write_time("to") == fs::last_write_time("from"), native);
            fs::permissions("to", fs::perms(perms == 0x1000 ? 0400 : 0622));
        }
        fs::remove("to");
    }
}

TEST_F(Linux, ReplaceWhole_KeepsTheGroupOrNeitherWhereOwnersCannotBeGiven) {
    fs::permissions(directory.Write("file", "old"), fs::perms(0640));
    for (const int refused : {1, 2}) {
        int calls = 0;
        const Guard given = AtCall("fchown", [&] { return ++calls <= refused ? EPERM : 0; });
        const zuString text = std::to_string(refused);
        EXPECT_EQ(UnderFaults([&] { return kelFile::ReplaceWhole("file", text); }), kOk) << refused;
        EXPECT_EQ(ReadWhole("file"), text);
        EXPECT_EQ(ModeOf("file"), 0640U) << refused;
    }
}

TEST_F(Linux, AFullDevice_TakesWhatTheBufferHolds) {
    constexpr unsigned long long kBuffer = 16384;
    const std::string text(400000, 'x');
    for (unsigned long long before : {0ULL, 1ULL, kBuffer - 1, kBuffer}) {
        SCOPED_TRACE(before);
        kelFile full("/dev/full", kWrite | kBuffered), direct("/dev/full", kWrite);
        unsigned long long rest = 40000, none = 1;
        EXPECT_EQ(full.Write(text.data(), before), kOk);
        EXPECT_EQ(full.Write(text.data(), rest), kFailed);
        EXPECT_EQ(rest, before == 0 ? 0 : kBuffer - before) << "what an unfilled buffer still took";
        EXPECT_EQ(full.Write(1.0), before == 0 ? kOk : kFailed);
        EXPECT_THAT(Statuses({full.SeekToBegin(), full.Close()}), Each(kFailed));
        EXPECT_FALSE(full.IsOpen());
        EXPECT_EQ(direct.Write(text.data(), none), kFailed);
        EXPECT_EQ(none, 0U);
        EXPECT_FALSE(direct.EndOfFile());
    }
}

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails.
void LimitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(Linux, ADiskThatIsFullForATime_GetsEachByteOnce) {
    const std::string text = Noise(400000);
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
    EXPECT_EQ(file.WriteLine(std::string(14000, 'w').c_str()), kFailed) << "whole or not at all";
    unsigned long long taken = 20000, more = 40000;
    EXPECT_EQ(file.Write(text.data() + 7004, taken), kFailed);
    LimitFileSize(21000);
    EXPECT_EQ(file.Write(text.data() + 7004 + taken, more), kFailed) << "past the buffer in part";
    LimitFileSize(RLIM_INFINITY);
    write(7004 + taken + more, text.size() - 7004 - taken - more);
    EXPECT_EQ(file.Close(), kOk) << "there is room again";
    EXPECT_TRUE(ReadWhole("file") == text) << "each byte once";
    LimitFileSize(100000);
    std::signal(SIGXFSZ, SIG_DFL);  // which ends the process
    EXPECT_EQ(kelSharedMemory().Create(100001, directory / "segment"), kFailed);
    EXPECT_EQ(kelFile("file", kReadWrite).SetLength(400001), kFailed);
    LimitFileSize(RLIM_INFINITY);
}

TEST_F(Linux, FactsOfAFile_AreAllItsBitsAndMicroseconds) {
    ASSERT_EQ(mkfifo("pipe", 0), 0);
    ASSERT_EQ(mknod("socket", S_IFSOCK, 0), 0);
    const timespec times[] = {{1000000000, 123456789}, {-5, 999998999}};
    EXPECT_EQ(utimensat(AT_FDCWD, "pipe", times, 0), 0);
    EXPECT_EQ(chmod("pipe", 04751), 0);
    const kelFileInfo info("pipe");
    EXPECT_EQ(info.GetLastAccessTime(), 1000000000123456);
    EXPECT_EQ(info.GetLastModifiedTime(), -4000002);
    EXPECT_EQ(info.GetPermissions(), 0x751 | kelFileInfo::PermissionSetUser);
    EXPECT_EQ(info.GetType(), kelFileInfo::Pipe);
    EXPECT_EQ(kelFileInfo("socket").GetType(), kelFileInfo::Socket);
}

TEST_F(Linux, UserHostTempDirAndLocale_AreThoseOfTheSystem) {
    kelLibrary library;
    setenv("TMPDIR", directory.Path().c_str(), 1);
    EXPECT_EQ(library.GetTempDir(), directory.Path());
    unsetenv("TMPDIR");
    zuString name;
    char host[256] = "";
    EXPECT_EQ(gethostname(host, sizeof host), 0);
    EXPECT_EQ(library.GetHostName(name), kOk);
    EXPECT_EQ(name, host);
    const passwd& user = *getpwuid(getuid());
    EXPECT_EQ(library.GetCurrentUserName(name), kOk);
    EXPECT_EQ(name, user.pw_name);
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

TEST_F(Linux, Sleep_GoesOnThroughSignals) {
    std::signal(SIGALRM, [](int) {});
    const long long before = kelTime::GetMonotonicTime();
    ualarm(1000, 1000);
    EXPECT_EQ(kelTime::Sleep(30000), kOk);
    ualarm(0, 0);
    EXPECT_GE(kelTime::GetMonotonicTime(), before + 30000);
}

TEST_F(Linux, AReadThatIsCancelledWhileItWaits_GetsItsLineFirst) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int end = open("pipe", O_RDWR | O_CLOEXEC);
    std::atomic<bool> waits{false};
    const auto body = [](void* argument) -> void* {
        char line[8] = "";
        kelFile in("pipe", kRead);
        *static_cast<std::atomic<bool>*>(argument) = true;
        EXPECT_EQ(in.ReadLine(line, sizeof line), kOk);
        EXPECT_STREQ(line, "a\n");
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread{};
    void* result = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, body, &waits), 0);
    EXPECT_TRUE(Eventually([&] { return waits.load(); }));
    pthread_cancel(thread);
    EXPECT_EQ(write(end, "a\n", 2), 2);
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    close(end);
}

}  // namespace
