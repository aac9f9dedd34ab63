#include "kelFileInfo.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "kelLibrary.h"
#include "support/System.h"
#include "support/Table.h"
#include "support/TemporaryDirectory.h"

using zukel::test::Table;
using zukel::test::TemporaryDirectory;
using zukel::test::Unprivileged;

namespace {

TEST(kelFileInfo, NameParts) {
    const auto cases = Table<5>(R"(
        _             _        _            _         _
        dir/name.txt  dir/     name.txt     name      txt
        name.tar.gz   _        name.tar.gz  name.tar  gz
        C:name.txt    C:       name.txt     name      txt
        C:\a.b\c      C:\a.b\  c            c         _
        .profile      _        .profile     .profile  profile
        dir/.profile  dir/     .profile     .profile  profile
        name.         _        name.        name      _
        dir/          dir/     _            _         _
        a.b/          a.b/     _            _         _
        a.b:c         a.b:     c            c         b:c
        ..            _        ..           .         _
        ./x           ./       x            x         _)");
    for (const auto& [name, path, fileName, baseName, extension] : cases) {
        const kelFileInfo info(nullptr, name);
        for (int count = 0; count < 2; ++count) {
            EXPECT_EQ(info.GetFilePath(), name);
            EXPECT_EQ(info.GetPath(), path) << name;
            EXPECT_EQ(info.GetFileName(), fileName) << name;
            EXPECT_EQ(info.GetBaseName(), baseName) << name;
            EXPECT_EQ(info.GetFileExtension(), extension) << name;
        }
    }
}

TEST(kelFileInfo, MissingFile_HasNoFactsUntilItIsMade) {
    const TemporaryDirectory directory;
    kelFileInfo info(directory / "late.txt");
    EXPECT_EQ(info.GetType(), kelFileInfo::NoFile);
    EXPECT_EQ(info.GetSize(), -1);
    for (const long long fact :
         {info.GetCreationTime(), info.GetLastAccessTime(), info.GetLastModifiedTime(),
          info.GetPermissions() + 0LL, info.GetUserId() + 0LL, info.GetGroupId() + 0LL}) {
        EXPECT_EQ(fact, -1);
    }
    EXPECT_EQ(info.GetFileExtension(), "txt");
    EXPECT_EQ(directory.Count(), 0U) << "a question makes no file";
    info.SetLibrary(nullptr);

    const std::string name = directory.Write("late.txt", "four");
    EXPECT_EQ(info.GetSize(), 4);
    directory.Write("late.txt", "more than four");
    EXPECT_EQ(info.GetSize(), 4) << "a snapshot";
    const kelFileInfo copy(info);
    EXPECT_EQ(copy.GetSize(), 14) << "a copy asks itself";
    kelFileInfo shared("other");
    shared = copy;
    unlink(name.c_str());
    EXPECT_EQ(shared.GetSize(), 14);
    EXPECT_EQ(shared.GetType(), kelFileInfo::RegularFile);
    EXPECT_EQ(shared.GetFilePath(), name);
    EXPECT_EQ(kelFileInfo(shared).GetType(), kelFileInfo::NoFile);
}

TEST(kelFileInfo, Facts_AreThoseOfTheSystem) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("file", "content");
    const timespec times[] = {{1000000000, 123456789}, {-5, 999999999}};
    ASSERT_EQ(utimensat(AT_FDCWD, name.c_str(), times, 0), 0);
    struct stat truth {};
    ASSERT_EQ(stat(name.c_str(), &truth), 0);
    const kelFileInfo info(name);
    EXPECT_EQ(info.GetLastAccessTime(), 1000000000123456);
    EXPECT_EQ(info.GetLastModifiedTime(), -4000001);
    EXPECT_EQ(info.GetCreationTime(),
              truth.st_ctim.tv_sec * 1000000LL + truth.st_ctim.tv_nsec / 1000);
    EXPECT_EQ(info.GetUserId(), 0);
    EXPECT_EQ(info.GetGroupId(), 0);

    using Info = kelFileInfo;
    const std::pair<mode_t, int> modes[] = {{0000, 0},
                                            {0644, 0x644},
                                            {0751, 0x751},
                                            {04700, 0x700 | Info::PermissionSetUser},
                                            {02070, 0x070 | Info::PermissionSetGroup},
                                            {01007, 0x007 | Info::PermissionSticky}};
    for (const auto& [mode, permissions] : modes) {
        ASSERT_EQ(chmod(name.c_str(), mode), 0);
        const Unprivileged user;
        EXPECT_EQ(kelFileInfo(name).GetPermissions(), permissions) << std::oct << mode;
    }
}

TEST(kelFileInfo, GetSize_GivesTheLow32Bits) {
    const TemporaryDirectory directory;
    const std::string name = directory.Write("large", "");
    constexpr long long kGiB = 1LL << 30;
    const std::pair<long long, int> sizes[] = {
        {0, 0},        {2 * kGiB - 1, 2147483647}, {3 * kGiB, -1073741824}, {4 * kGiB - 1, -1},
        {4 * kGiB, 0}, {5 * kGiB + 6, 1073741830}};
    for (const auto& [size, told] : sizes) {
        ASSERT_EQ(truncate(name.c_str(), size), 0);
        EXPECT_EQ(kelFileInfo(name).GetSize(), told) << size;
    }
}

TEST(kelFileInfo, GetType_TellsLinksFromTheirTargets) {
    const TemporaryDirectory directory;
    ASSERT_EQ(mkdir((directory / "a.d").c_str(), 0700), 0);
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("a.d", (directory / "link.x").c_str()), 0);
    ASSERT_EQ(symlink("nothing", (directory / "dangling").c_str()), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, (directory / "socket").c_str());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(descriptor);
    const std::pair<std::string, kelFileInfo::FileType> files[] = {
        {directory.Write("file", ""), kelFileInfo::RegularFile},
        {directory / "a.d", kelFileInfo::Directory},
        {directory / "pipe", kelFileInfo::Pipe},
        {directory / "link.x", kelFileInfo::Link},
        {directory / "link.x/", kelFileInfo::Directory},
        {directory / "dangling", kelFileInfo::Link},
        {directory / "socket", kelFileInfo::Socket},
        {"/dev/null", kelFileInfo::OtherFile},
        {directory / "file/below", kelFileInfo::NoFile},
    };
    for (const auto& [name, type] : files) {
        EXPECT_EQ(kelFileInfo(name).GetType(), type) << name;
    }
    const kelFileInfo link(directory / "dangling");
    EXPECT_EQ(link.GetSize(), 7);
    EXPECT_EQ(link.GetPermissions(), 0x777);
    EXPECT_EQ(kelFileInfo(directory / "link.x").GetFileExtension(), "x");
    EXPECT_EQ(kelFileInfo(directory / "a.d").GetFileExtension(), "");
    EXPECT_EQ(kelFileInfo(directory / "a.d").GetBaseName(), "a");
}

}  // namespace
