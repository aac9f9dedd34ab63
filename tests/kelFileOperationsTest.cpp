#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kelFile.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"
#include "support/Volume.h"

namespace fs = std::filesystem;
using zukel::test::FileSizeLimit;
using zukel::test::OnSmallVolume;
using zukel::test::ReadWhole;
using zukel::test::TemporaryDirectory;
using zukel::test::Unprivileged;
using zukel::test::WorkingDirectory;

namespace {

constexpr int kDefault = 0x0FFF;
constexpr int kOfSource = 0x1000;

struct stat StatusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

mode_t ModeOf(const std::string& path) {
    return StatusOf(path).st_mode & 07777;
}

std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    unsigned value = 1;
    for (char& byte : bytes) {
        value = value * 1103515245 + 12345;
        byte = static_cast<char>(value >> 16U);
    }
    return bytes;
}

/// Both copies, as tests that hold for both call them.
struct Copier {
    const char* name;
    std::function<int(const std::string&, const std::string&)> copy;
};
const std::vector<Copier>& Copiers() {
    static const std::vector<Copier> all = {
        {"Copy", [](const auto& from, const auto& to) { return kelFile::Copy(from, to, 0x644); }},
        {"Copy with the source's permissions",
         [](const auto& from, const auto& to) { return kelFile::Copy(from, to, kOfSource); }},
        {"NativeCopy",
         [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, 0); }},
        {"NativeCopy to normal attributes",
         [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, kDefault); }},
    };
    return all;
}

TEST(kelFileOperations, EmptyNames_HaveTheirStatus) {
    using TwoNames = std::function<int(const std::string&, const std::string&)>;
    const std::vector<TwoNames> onTwoNames = {
        [](const auto& from, const auto& to) { return kelFile::Copy(from, to, 0); },
        [](const auto& from, const auto& to) { return kelFile::Copy(nullptr, from, to, 0); },
        [](const auto& from, const auto& to) { return kelFile::NativeCopy(from, to, kDefault); },
        [](const auto& from, const auto& to) { return kelFile::Rename(from, to); },
        [](const auto& from, const auto& to) { return kelFile::Rename(nullptr, from, to); },
        [](const auto& from, const auto& to) { return kelFile::NativeRename(from, to); },
    };
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "content");
    for (const TwoNames& operation : onTwoNames) {
        EXPECT_EQ(operation("", ""), kelStatusEmptySource);
        EXPECT_EQ(operation("", file), kelStatusEmptySource);
        EXPECT_EQ(operation(file, ""), kelStatusEmptyTarget);
        EXPECT_EQ(operation(directory / "missing", directory / "new"), kelStatusFailed);
    }
    EXPECT_EQ(directory.Count(), 1U);
    EXPECT_EQ(ReadWhole(file), "content");
    EXPECT_EQ(kelFile::Delete(""), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::Delete(nullptr, ""), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::SetPermissions("", 0x600), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::SetPermissions(nullptr, "", 0x600), kelStatusEmptyPath);
    EXPECT_EQ(kelFile::Exists(nullptr, ""), kelStatusEmptyPath);
    EXPECT_FALSE(kelFile::Exists(""));
    EXPECT_FALSE(kelFile().IsReadable());
    EXPECT_FALSE(kelFile().IsWritable());
}

TEST(kelFileOperations, Copy_MovesEveryByteToANewAndOverALongerTarget) {
    const TemporaryDirectory directory;
    for (const std::size_t size : {0U, 1U, 4096U, 262145U, 3000000U}) {
        const std::string content = Pattern(size);
        const std::string from = directory.Write("from", content);
        for (const Copier& copier : Copiers()) {
            fs::remove(directory / "to");
            EXPECT_EQ(copier.copy(from, directory / "to"), kelStatusOk) << copier.name;
            EXPECT_TRUE(ReadWhole(directory / "to") == content) << copier.name << " " << size;
            directory.Write("to", content + "longer");
            EXPECT_EQ(copier.copy(from, directory / "to"), kelStatusOk) << copier.name;
            EXPECT_TRUE(ReadWhole(directory / "to") == content) << copier.name << " " << size;
        }
    }
    // Files below /proc tell a size of 0.
    for (const Copier& copier : Copiers()) {
        fs::remove(directory / "to");
        EXPECT_EQ(copier.copy("/proc/version", directory / "to"), kelStatusOk) << copier.name;
        EXPECT_EQ(ReadWhole(directory / "to"), ReadWhole("/proc/version"));
    }
}

TEST(kelFileOperations, Copy_OntoItselfUnderAnyName_FailsAndChangesNothing) {
    const TemporaryDirectory directory;
    const WorkingDirectory here(directory.Path());
    directory.Write("file", "content");
    fs::permissions("file", fs::perms::owner_read);
    fs::create_hard_link("file", "hard");
    fs::create_symlink("file", "soft");
    fs::create_symlink("soft", "softer");
    fs::create_directory_symlink(".", "again");
    const std::vector<std::string> names = {"file", "./file", ".//file",    "hard",
                                            "soft", "softer", "again/file", directory / "file"};
    for (const bool privileged : {true, false}) {
        if (!privileged) {
            fs::permissions(directory.Path(), fs::perms::all);
        }
        const std::unique_ptr<Unprivileged> user(privileged ? nullptr : new Unprivileged);
        for (const std::string& from : names) {
            for (const std::string& to : names) {
                for (const Copier& copier : Copiers()) {
                    EXPECT_EQ(copier.copy(from, to), kelStatusFailed)
                        << copier.name << " " << from << " to " << to;
                }
            }
        }
    }
    EXPECT_EQ(ReadWhole("file"), "content");
    EXPECT_EQ(ModeOf("file"), 0400U);
    EXPECT_EQ(directory.Count(), 5U);
}

TEST(kelFileOperations, Copy_WhatCannotSucceed_LeavesTheTargetAlone) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string readable = directory.Write("readable", "source");
    const std::string secret = directory.Write("secret", "secret");
    const std::string target = directory.Write("target", "target");
    const std::string fixed = directory.Write("fixed", "fixed");
    fs::create_directory(directory / "directory");
    fs::permissions(secret, fs::perms::none);
    fs::permissions(target, fs::perms::all);
    fs::permissions(fixed, fs::perms(0444));
    const bool asAnother = geteuid() == 0;
    const Unprivileged user;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {secret, target},
        {directory.Path(), target},
        {directory / "missing", target},
        {readable, directory.Path()},
        {readable, fixed},
        {readable, target + "/x"},
        {readable, directory / "no/x"},
        {target + "/x", target},
        {directory / "directory", directory / "new"},
    };
    for (const auto& [from, to] : cases) {
        for (const Copier& copier : Copiers()) {
            if (to == fixed && !asAnother) {
                continue;  // its owner may change that
            }
            EXPECT_EQ(copier.copy(from, to), kelStatusFailed) << from << " to " << to;
        }
    }
    EXPECT_EQ(ReadWhole(target), "target");
    EXPECT_EQ(ReadWhole(fixed), "fixed");
    EXPECT_EQ(directory.Count(), 5U);
}

TEST(kelFileOperations, Copy_WritesIntoTheTargetItself) {
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "new");
    for (const Copier& copier : Copiers()) {
        const std::string to = directory.Write("to", "old contents");
        fs::create_hard_link(to, directory / "hard");
        fs::create_symlink("to", directory / "soft");
        fs::create_symlink("made", directory / "dangling");
        EXPECT_EQ(copier.copy(from, directory / "soft"), kelStatusOk) << copier.name;
        EXPECT_EQ(copier.copy(from, directory / "dangling"), kelStatusOk) << copier.name;
        EXPECT_EQ(ReadWhole(directory / "hard"), "new");
        EXPECT_EQ(ReadWhole(directory / "made"), "new");
        EXPECT_TRUE(fs::is_symlink(directory / "soft") && fs::is_symlink(directory / "dangling"));
        for (const char* name : {"hard", "soft", "dangling", "made", "to"}) {
            fs::remove(directory / name);
        }
    }
}

TEST(kelFileOperations, Copy_PipesAndDevices_AreFilledAndStay) {
    const TemporaryDirectory directory;
    const std::string content = Pattern(300000);
    const std::string from = directory.Write("from", content);
    const std::string pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0640), 0);
    for (const Copier& copier : Copiers()) {
        std::string read;
        std::thread reader([&] { read = ReadWhole(pipe); });
        EXPECT_EQ(copier.copy(from, pipe), kelStatusOk) << copier.name;
        reader.join();
        EXPECT_TRUE(read == content) << copier.name;
        std::thread writer([&] { copier.copy(from, pipe); });
        EXPECT_EQ(copier.copy(pipe, directory / "to"), kelStatusOk) << copier.name;
        writer.join();
        EXPECT_TRUE(ReadWhole(directory / "to") == content) << copier.name;
    }
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_EQ(ModeOf(pipe), 0640U) << "permissions are for files";

    const std::string full = directory / "full";
    if (mknod(full.c_str(), S_IFCHR | 0600, makedev(1, 7)) != 0) {
        GTEST_SKIP() << "may not make a device: the rest is not tested";
    }
    for (const Copier& copier : Copiers()) {
        EXPECT_EQ(copier.copy(from, full), kelStatusFailed) << copier.name;
        EXPECT_EQ(copier.copy("/dev/null", directory / "to"), kelStatusOk) << copier.name;
        EXPECT_EQ(ReadWhole(directory / "to"), "");
    }
    EXPECT_TRUE(fs::is_character_file(full));
}

TEST(kelFileOperations, Copy_WhenTheVolumeIsFull_LeavesNoPartOfTheTarget) {
    const TemporaryDirectory directory;
    const std::string content = Pattern(400000);
    const std::string from = directory.Write("from", content);
    const auto check = [&](const std::string& place) {
        for (const Copier& copier : Copiers()) {
            EXPECT_EQ(copier.copy(from, place + "/new"), kelStatusFailed) << copier.name;
            kelFile old(place + "/old", kelFile::ModeWrite | kelFile::ModeCreate);
            EXPECT_EQ(old.WriteLine("old"), kelStatusOk);
            fs::create_hard_link(place + "/old", place + "/hard");
            fs::create_symlink("old", place + "/soft");
            EXPECT_EQ(copier.copy(from, place + "/soft"), kelStatusFailed) << copier.name;
            EXPECT_TRUE(fs::is_symlink(place + "/soft")) << "the link is not what was written";
            EXPECT_EQ(ReadWhole(place + "/hard"), "") << "no part under another name";
            EXPECT_FALSE(fs::exists(place + "/new") || fs::exists(place + "/old")) << copier.name;
            fs::remove(place + "/hard");
            fs::remove(place + "/soft");
        }
        EXPECT_TRUE(ReadWhole(from) == content);
    };
    {
        const FileSizeLimit limit(100000);
        check(directory.Path());
    }
    if (!OnSmallVolume("size=128k", check)) {
        GTEST_SKIP() << "may not mount: tested with a limit of file sizes only";
    }
}

TEST(kelFileOperations, Copy_LeavesHolesOut) {
    constexpr off_t kSize = off_t{5} << 30;  // beyond 32 bits as well
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "at the start");
    {
        kelFile file(from, kelFile::ModeWrite);
        file.SeekTo(kSize / 2);
        file.WriteLine("in the middle");
    }
    ASSERT_EQ(truncate(from.c_str(), kSize), 0);
    if (StatusOf(from).st_blocks > 2048) {
        GTEST_SKIP() << "the file system keeps no holes";
    }
    for (const Copier& copier : Copiers()) {
        const std::string to = directory.Write("to", "old");
        EXPECT_EQ(copier.copy(from, to), kelStatusOk);
        EXPECT_EQ(StatusOf(to).st_size, kSize);
        EXPECT_LE(StatusOf(to).st_blocks, 2048) << copier.name;
        kelFile copy(to, kelFile::ModeRead);
        char text[14] = "";
        unsigned long long size = 13;
        EXPECT_EQ(copy.Read(text, size), kelStatusOk);
        EXPECT_EQ(std::string(text, 13), std::string("at the start\0", 13));
        EXPECT_EQ(copy.SeekTo(kSize / 2), kelStatusOk);
        EXPECT_EQ(copy.Read(text, size), kelStatusOk);
        EXPECT_STREQ(text, "in the middle");
    }
}

TEST(kelFileOperations, NativeCopy_CarriesPermissionsAndTimeAndClearsReadOnly) {
    const TemporaryDirectory directory;
    const mode_t umaskBefore = umask(077);
    const std::string from = directory.Write("from", "content");
    const timespec times[] = {{1000, 0}, {1234567890, 123456789}};
    ASSERT_EQ(utimensat(AT_FDCWD, from.c_str(), times, 0), 0);
    struct Case {
        mode_t source;
        int perms;
        mode_t target;
    };
    for (const Case& test : std::vector<Case>{{0444, 0, 0444},
                                              {0444, kDefault, 0644},
                                              {0640, kDefault, 0640},
                                              {04755, 0x777, 04755},
                                              {01600, kOfSource, 01600}}) {
        for (const bool exists : {false, true}) {
            const std::string to = directory / "to";
            fs::remove(to);
            if (exists) {
                directory.Write("to", "longer than the contents");
                fs::permissions(to, fs::perms(0622));
            }
            ASSERT_EQ(chmod(from.c_str(), test.source), 0);
            EXPECT_EQ(kelFile::NativeCopy(from, to, test.perms), kelStatusOk);
            EXPECT_EQ(ModeOf(to), test.target) << std::oct << test.source;
            EXPECT_EQ(StatusOf(to).st_mtim.tv_sec, times[1].tv_sec);
            EXPECT_EQ(StatusOf(to).st_mtim.tv_nsec, times[1].tv_nsec);
        }
    }
    const std::string fixed = directory.Write("fixed", "fixed");
    fs::permissions(fixed, fs::perms::owner_read);
    EXPECT_EQ(kelFile::NativeCopy(directory / "missing", fixed, 0), kelStatusFailed);
    EXPECT_EQ(ModeOf(fixed), 0400U);
    EXPECT_EQ(kelFile::NativeCopy(directory / "missing", fixed, kDefault), kelStatusFailed);
    EXPECT_EQ(ModeOf(fixed), 0600U) << "also when the copy fails";
    umask(umaskBefore);
}

TEST(kelFileOperations, Copy_ReadOnlyTargetOfOnesOwn_IsOpenedUpOnlyForTheSourcesPermissions) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    const std::string from = directory.Write("from", "new");
    const Unprivileged user;
    const auto readOnly = [&] {
        fs::remove(directory / "to");
        directory.Write("to", "old");
        fs::permissions(directory / "to", fs::perms::owner_read);
        return directory / "to";
    };
    EXPECT_EQ(kelFile::Copy(from, readOnly(), 0x666), kelStatusFailed);
    EXPECT_EQ(kelFile::NativeCopy(from, readOnly(), 0), kelStatusFailed);
    EXPECT_EQ(ReadWhole(directory / "to"), "old");
    EXPECT_EQ(kelFile::NativeCopy(from, readOnly(), kDefault), kelStatusFailed);
    EXPECT_EQ(ModeOf(directory / "to"), 0600U) << "so that the next attempt succeeds";
    EXPECT_EQ(kelFile::Copy(from, readOnly(), kOfSource), kelStatusOk);
    EXPECT_EQ(ReadWhole(directory / "to"), "new");
    EXPECT_EQ(ModeOf(directory / "to"), ModeOf(from));
}

TEST(kelFileOperations, Copy_SetIdBits_NeedTheSameOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "may not give a file away";
    }
    const TemporaryDirectory directory;
    const std::string from = directory.Write("from", "content");
    ASSERT_EQ(chown(from.c_str(), 12345, 0), 0);
    ASSERT_EQ(chmod(from.c_str(), 06755), 0);
    EXPECT_EQ(kelFile::Copy(from, directory / "to", kOfSource), kelStatusOk);
    EXPECT_EQ(ModeOf(directory / "to"), 02755U);
}

TEST(kelFileOperations, RenameOnOneVolume_ReplacesInOneStep) {
    const TemporaryDirectory directory;
    using TwoNames = std::function<int(const std::string&, const std::string&)>;
    for (const TwoNames& rename :
         {TwoNames([](const auto&from, const auto&to) { return kelFile::Rename(from, to); }),
          TwoNames(
              [](const auto&from, const auto&to) { return kelFile::Rename(nullptr, from, to); }),
          TwoNames(&kelFile::NativeRename)}) {
        const std::string from = directory.Write("from \xFF", "new");
        const std::string to = directory.Write("to", "old");
        fs::create_directory(directory / "directory");
        EXPECT_EQ(rename(from, directory / "directory"), kelStatusFailed);
        EXPECT_EQ(rename(directory / "directory", to), kelStatusFailed);
        EXPECT_EQ(ReadWhole(to), "old");
        EXPECT_EQ(rename(from, to), kelStatusOk);
        EXPECT_EQ(ReadWhole(to), "new");
        EXPECT_EQ(rename(to, to), kelStatusOk);
        EXPECT_EQ(rename(directory / "directory", directory / "moved"), kelStatusOk);
        EXPECT_EQ(directory.Count(), 2U);
        fs::remove(directory / "moved");
    }
}

TEST(kelFileOperations, RenameAcrossVolumes_MovesAllThatTheSourceHas) {
    const bool mounted = OnSmallVolume("size=4m", [](const std::string& volume) {
        const TemporaryDirectory directory;
        const std::string content = Pattern(1000000);
        const timespec times[] = {{1000, 1}, {1234567890, 123456789}};
        for (const bool away : {true, false}) {
            for (const bool replaces : {false, true}) {
                const std::string from = (away ? directory.Path() : volume) + "/from \xFF";
                const std::string to = (away ? volume : directory.Path()) + "/to \xFE";
                fs::remove(to);
                {
                    kelFile file(from, kelFile::ModeWrite | kelFile::ModeCreate);
                    unsigned long long size = content.size();
                    EXPECT_EQ(file.Write(content.data(), size), kelStatusOk);
                }
                ASSERT_EQ(chown(from.c_str(), 12345, 54321), 0);
                ASSERT_EQ(chmod(from.c_str(), 04751), 0);
                ASSERT_EQ(utimensat(AT_FDCWD, from.c_str(), times, 0), 0);
                if (replaces) {
                    fs::create_symlink("/dev/full", to);
                }
                EXPECT_EQ(kelFile::NativeRename(from, to), kelStatusFailed);
                EXPECT_EQ(kelFile::Rename(from, to), kelStatusOk);
                EXPECT_FALSE(fs::exists(from));
                EXPECT_TRUE(ReadWhole(to) == content);
                EXPECT_EQ(ModeOf(to), 04751U);
                EXPECT_EQ(StatusOf(to).st_uid, 12345U);
                EXPECT_EQ(StatusOf(to).st_gid, 54321U);
                EXPECT_EQ(StatusOf(to).st_mtim.tv_nsec, times[1].tv_nsec);
                EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(to).parent_path()), {}), 1)
                    << "nothing of the move stays";
            }
            fs::remove_all(directory / "to \xFE");
        }
        fs::create_symlink("to \xFE", directory / "link");
        EXPECT_EQ(kelFile::Rename(directory / "link", volume + "/link"), kelStatusOk);
        EXPECT_EQ(fs::read_symlink(volume + "/link"), "to \xFE");
        EXPECT_EQ(directory.Count(), 0U);
    });
    if (!mounted) {
        GTEST_SKIP() << "may not mount a second volume";
    }
}

TEST(kelFileOperations, RenameAcrossVolumes_ThatFails_ChangesNothing) {
    const bool mounted = OnSmallVolume("size=128k", [](const std::string& volume) {
        const TemporaryDirectory directory;
        fs::create_directory(directory / "directory");
        ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
        const std::string large = directory.Write("large", Pattern(400000));
        const std::string small = directory.Write("small", "small");
        std::ofstream(volume + "/old") << "old";
        fs::create_directory(volume + "/taken");
        const std::vector<std::pair<std::string, std::string>> cases = {
            {large, "/new"},
            {large, "/old"},
            {directory / "directory", "/new"},
            {small, "/taken"},
            {directory / "pipe", "/new"},
            {small, "/missing/new"},
            {small, "/new/"},
            {small + "/", "/new"},
            {directory / "missing", "/old"},
            {small, ""}};
        for (const auto& [from, to] : cases) {
            EXPECT_EQ(kelFile::Rename(from, volume + to), kelStatusFailed) << from << " " << to;
        }
        EXPECT_EQ(fs::file_size(large), 400000U);
        EXPECT_EQ(directory.Count(), 4U);

        // The source cannot go: the target must be what it was.
        zukel::test::MakeReadOnly(volume);
        EXPECT_EQ(kelFile::Rename(volume + "/old", directory / "new"), kelStatusFailed);
        EXPECT_EQ(kelFile::Rename(volume + "/old", small), kelStatusFailed);
        EXPECT_EQ(ReadWhole(small), "small");
        EXPECT_EQ(ReadWhole(volume + "/old"), "old");
        EXPECT_EQ(directory.Count(), 4U);
        EXPECT_EQ(std::distance(fs::directory_iterator(volume), {}), 2) << "the old file, taken";
    });
    if (!mounted) {
        GTEST_SKIP() << "may not mount a second volume";
    }
}

TEST(kelFileOperations, Rename_OneVolumeMountedTwice_LosesNothing) {
    const TemporaryDirectory directory;
    const bool mounted = OnSmallVolume("size=64k", [&](const std::string& volume) {
        fs::create_directory(volume + "/here");
        zukel::test::ShowTwice(volume, directory.Path());
        std::ofstream(volume + "/file") << "content";
        EXPECT_EQ(kelFile::NativeRename(volume + "/file", directory / "file"), kelStatusFailed);
        EXPECT_EQ(kelFile::Rename(volume + "/file", directory / "file"), kelStatusOk);
        EXPECT_EQ(ReadWhole(volume + "/file"), "content") << "it is where it was";
        EXPECT_EQ(kelFile::Rename(volume + "/file", directory / "here/other"), kelStatusOk);
        EXPECT_EQ(ReadWhole(volume + "/here/other"), "content");
        EXPECT_FALSE(fs::exists(volume + "/file"));
        EXPECT_EQ(kelFile::Copy(volume + "/here/other", directory / "here/other", kDefault),
                  kelStatusFailed);
        EXPECT_EQ(ReadWhole(volume + "/here/other"), "content");
    });
    if (!mounted) {
        GTEST_SKIP() << "may not mount a volume";
    }
}

TEST(kelFileOperations, DeleteAndExists) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file \xFF", "");
    fs::create_symlink("nothing", directory / "dangling");
    fs::create_directory(directory / "directory");
    for (const auto& [name, exists] :
         std::vector<std::pair<std::string, bool>>{{file, true},
                                                   {directory / "directory", true},
                                                   {directory / "dangling", false},
                                                   {directory / "missing", false},
                                                   {file + "/x", false},
                                                   {std::string(5000, 'x'), false}}) {
        EXPECT_EQ(kelFile::Exists(name), exists) << name;
        EXPECT_EQ(kelFile::Exists(nullptr, name), exists ? kelStatusOk : kelStatusNotFound);
    }
    for (const char* name : {"directory", "missing", "file \xFF/x"}) {
        EXPECT_EQ(kelFile::Delete(directory / name), kelStatusFailed) << name;
    }
    EXPECT_EQ(kelFile::Delete(directory / "dangling"), kelStatusOk) << "the link itself";
    EXPECT_EQ(kelFile::Delete(nullptr, file), kelStatusOk);
    EXPECT_EQ(directory.Count(), 1U);
}

TEST(kelFileOperations, SetPermissions_TouchesTheOwnersTwoBitsOnly) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "");
    const std::vector<std::pair<int, mode_t>> cases = {{0x600, 0600}, {0x400, 0400}, {0x200, 0200},
                                                       {0x1FF, 0},    {0, 0},        {-1, 0600}};
    for (const mode_t rest : {0U, 0177U, 04050U, 01111U}) {
        for (const auto& [perms, mode] : cases) {
            ASSERT_EQ(chmod(file.c_str(), rest | 0200U), 0);
            EXPECT_EQ(kelFile::SetPermissions(file, perms), kelStatusOk);
            EXPECT_EQ(ModeOf(file), mode | rest) << std::hex << perms;
        }
    }
    EXPECT_EQ(kelFile::SetPermissions(nullptr, directory / "missing", 0x600), kelStatusFailed);
}

TEST(kelFileOperations, IsReadableAndIsWritable_AskForTheStoredName) {
    const TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    for (const std::string& name : {directory / "plain", directory / "\xC3\xA4 \xFF\xED\xA0\x80"}) {
        kelFile file(name, kelFile::ModeWrite | kelFile::ModeCreate);
        EXPECT_TRUE(file.IsReadable() && file.IsWritable());
        EXPECT_EQ(file.Close(), kelStatusOk);
        EXPECT_TRUE(file.IsReadable() && file.IsWritable()) << "the name is enough";
        for (const unsigned bits : {0U, 4U, 2U, 6U}) {
            fs::permissions(name, fs::perms(bits * 0111));
            const Unprivileged user;
            EXPECT_EQ(file.IsReadable(), (bits & 4U) != 0) << bits;
            EXPECT_EQ(file.IsWritable(), (bits & 2U) != 0) << bits;
        }
        fs::remove(name);
        EXPECT_FALSE(file.IsReadable() || file.IsWritable());
    }
}

}  // namespace
