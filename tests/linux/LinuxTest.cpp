// What callers see on Linux alone: users and their rights, signals, devices and limits.

#include <pwd.h>

#include <clocale>

#include "linux/Users.h"

using namespace zukel::test;
using Linux = InDirectory;

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
    for (const auto& [perms, mode] :
         {std::pair{0x600, 04650U}, {0x400, 04450U}, {0x200, 04250U}, {0x1FF, 04050U}}) {
        fs::permissions(kOddName, fs::perms(04250));
        EXPECT_EQ(kelFile::SetPermissions(kOddName, perms), kOk) << std::hex << perms;
        EXPECT_EQ(ModeOf(kOddName), mode) << std::hex << perms;
    }
}

TEST_F(Linux, PermissionsOfCopies_Table) {
    umask(026);
    fs::permissions(".", fs::perms::all);
    const Guard user = Unprivileged();  // a write by root keeps the set-ID bits
    directory.Write("from", "text");
    fs::last_write_time("from", fs::last_write_time("from") - std::chrono::hours(99));
    const struct {
        int perms;
        bool native;
        unsigned source, newTarget, existingTarget;
    } rows[] = {{0, true, 0444, 0444, 0444},      {0xFFF, true, 0444, 0644, 0644},
                {0x644, false, 0604, 0640, 0622}, {0x1000, false, 0604, 0604, 0604},
                {0, true, 04751, 04751, 04751},   {0x8644, false, 0604, 04640, 0622}};
    for (const auto& row : rows) {
        fs::permissions("from", fs::perms(row.source));
        for (const unsigned mode : {row.newTarget, row.existingTarget}) {
            SCOPED_TRACE(testing::Message() << (row.native ? "NativeCopy " : "Copy ") << std::hex
                                            << row.perms << (fs::exists("to") ? ", exists" : ""));
            EXPECT_EQ(row.native ? kelFile::NativeCopy("from", "to", row.perms)
                                 : kelFile::Copy("from", "to", row.perms),
                      kOk);
            EXPECT_EQ(ModeOf("to"), mode);
            EXPECT_EQ(fs::last_write_time("to") == fs::last_write_time("from"), row.native);
            fs::permissions("to", fs::perms(row.perms == 0x1000 ? 0400 : 0622));
        }
        fs::remove("to");
    }
}

TEST_F(Linux, ReplaceWhole_KeepsTheGroupOrNeitherWhereOwnersCannotBeGiven) {
    fs::permissions(directory.Write("file", "old"), fs::perms(0640));
    for (const int refused : {1, 2}) {
        SCOPED_TRACE("calls refused: " + std::to_string(refused));
        const Guard given = Failing("fchown", EPERM, 1, refused);
        const zuString text = std::to_string(refused);
        EXPECT_EQ(UnderFaults([&] { return kelFile::ReplaceWhole("file", text); }), kOk);
        EXPECT_EQ(ReadWhole("file"), text);
        EXPECT_EQ(ModeOf("file"), 0640U);
    }
}

TEST_F(Linux, AFullDevice_TakesWhatTheBufferHolds) {
    const std::string text(400000, 'x');
    const struct {
        unsigned long long before, taken;  ///< Bytes: of the first write, and of the second.
        int last;                          ///< What a write returns then.
    } rows[] = {{0, 0, kOk}, {1, 16383, kFailed}, {16383, 1, kFailed}, {16384, 0, kFailed}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        kelFile full("/dev/full", kWrite | kBuffered);
        unsigned long long before = row.before, size = 40000;
        EXPECT_EQ(full.Write(text.data(), before), kOk);
        EXPECT_EQ(full.Write(text.data(), size), kFailed);
        EXPECT_EQ(size, row.taken) << "what an unfilled buffer still took";
        EXPECT_EQ(full.Write(1.0), row.last);
        EXPECT_THAT(Statuses({full.SeekToBegin(), full.Close()}), Each(kFailed));
        EXPECT_FALSE(full.IsOpen());
    }
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
    const Guard longer = Failing("getpwuid_r", ERANGE, 1, 4);  // the room for the record
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

TEST_F(Linux, MappedMemory_IsUnmappedAtTheEnd) {
    directory.Write("file", Noise(3U << 20U));
    const std::string segment = directory / "segment";
    kelMappedFile file;
    kelSharedMemory made, attached;
    EXPECT_THAT(
        Statuses({kelFile::Copy("file", "copied", 0x600),
                  file.Open("file", kelMappedFile::ReadWrite, 1, 1), made.Create(10, segment),
                  attached.Attach(segment), file.Close(), attached.Detach(), made.Destroy()}),
        Each(kOk));
    std::ifstream mappings("/proc/self/maps");
    for (std::string line; std::getline(mappings, line);) {
        EXPECT_THAT(line, testing::Not(testing::AnyOf(testing::HasSubstr(directory.Path()),
                                                      testing::HasSubstr("/dev/shm/"))));
    }
}

TEST_F(Linux, Sleep_GoesOnThroughSignals) {
    std::signal(SIGALRM, [](int) {});
    const long long before = kelTime::GetMonotonicTime();
    ualarm(1000, 1000);
    EXPECT_EQ(kelTime::Sleep(30000), kOk);
    ualarm(0, 0);
    EXPECT_GE(kelTime::GetMonotonicTime(), before + 30000);
}
