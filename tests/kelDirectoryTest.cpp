#include "kelDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kelFile.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using zukel::test::InheritedDescriptors;
using zukel::test::TemporaryDirectory;
using zukel::test::Unprivileged;
using zukel::test::WorkingDirectory;

namespace {

using Names = std::vector<std::string>;

Names Sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

/// All entries as the cursor gives them.
Names ReadAll(kelDirectory& directory) {
    Names names;
    std::string name;
    for (int status = directory.ReadFirst(name); status == kelStatusOk;
         status = directory.ReadNext(name)) {
        names.push_back(name);
    }
    return names;
}

TEST(kelDirectory, StateTable_WalkedInFull) {
    const TemporaryDirectory one;
    one.Write("a", "");
    const TemporaryDirectory other;
    kelDirectory closed(other / "missing");
    kelDirectory fresh(static_cast<kelLibrary*>(nullptr));
    kelDirectory ended(one.Path());
    EXPECT_EQ(ended.Close(), kelStatusOk);
    kelDirectory copied(ended);
    for (kelDirectory* object : {&closed, &fresh, &ended, &copied}) {
        std::string name = "as it was";
        EXPECT_EQ(object->Close(), kelStatusNotOpen);
        EXPECT_EQ(object->ReadFirst(name), kelStatusNotOpen);
        EXPECT_EQ(object->ReadNext(name), kelStatusNotOpen);
        EXPECT_EQ(name, "as it was");
        EXPECT_EQ(object->GetFileNames(), Names());
        EXPECT_EQ(object->GetNumberOfFiles(), 0);
        EXPECT_EQ(object->Open(one / "a"), kelStatusFailed) << "a file is no directory";
        EXPECT_EQ(object->Open(""), kelStatusFailed);
        EXPECT_EQ(object->GetName(), object == &ended ? one.Path() : "");

        EXPECT_EQ(object->Open(one.Path()), kelStatusOk);
        EXPECT_EQ(object->Open(other / "missing"), kelStatusOk) << "the open one stays";
        EXPECT_EQ(object->GetName(), one.Path());
        EXPECT_EQ(Sorted(ReadAll(*object)), (Names{".", "..", "a"}));
        EXPECT_EQ(object->Close(), kelStatusOk);
        EXPECT_EQ(object->GetName(), one.Path());
        EXPECT_EQ(object->Open(other.Path()), kelStatusOk);
        EXPECT_EQ(object->GetName(), other.Path());
        EXPECT_EQ(object->GetFileNames(), Names());
        EXPECT_EQ(object->Close(), kelStatusOk);
    }
}

TEST(kelDirectory, Reading_GoesFromEntryToEntryAndStaysAtTheEnd) {
    const std::set<int> inherited = InheritedDescriptors();
    const TemporaryDirectory directory;
    for (const char* name : {"a", "b", "c"}) {
        directory.Write(name, "");
    }
    kelDirectory cursor(directory.Path());
    std::string first;
    EXPECT_EQ(cursor.ReadNext(first), kelStatusOk) << "needs no ReadFirst";
    std::string name;
    EXPECT_EQ(cursor.ReadFirst(name), kelStatusOk);
    EXPECT_EQ(name, first);
    Names rest{name};
    while (cursor.ReadNext(name) == kelStatusOk) {
        rest.push_back(name);
    }
    EXPECT_EQ(Sorted(rest), (Names{".", "..", "a", "b", "c"}));
    const std::vector<std::function<void()>> waysToTheEnd = {
        [] {},
        [&] {
            EXPECT_EQ(Sorted(cursor.GetFileNames()), (Names{"a", "b", "c"}));
        },
        [&] { EXPECT_EQ(cursor.GetNumberOfFiles(), 3); }};
    for (const auto& go : waysToTheEnd) {
        go();
        name = "as it was";
        EXPECT_EQ(cursor.ReadNext(name), kelStatusReadFailed);
        EXPECT_EQ(cursor.ReadNext(name), kelStatusReadFailed);
        EXPECT_EQ(name, "as it was");
    }
    EXPECT_EQ(cursor.ReadFirst(name), kelStatusOk);
    EXPECT_EQ(name, first);
    EXPECT_EQ(InheritedDescriptors(), inherited);
}

TEST(kelDirectory, Listings_HoldNamesOfAnyBytesAndOnlyTheTwoDotsAreMissing) {
    const TemporaryDirectory directory;
    const Names names = Sorted({"\xFF\xFE", "\xC3\xA4", "new\nline", " ", "...", ".hidden", "..x",
                                "\\", "C:", "*", std::string(255, 'n')});
    for (const std::string& name : names) {
        directory.Write(name, "");
    }
    fs::create_directory(directory / "sub");
    Names all = names;
    all.push_back("sub");
    kelDirectory cursor(directory.Path());
    EXPECT_EQ(Sorted(cursor.GetFileNames()), Sorted(all));
    EXPECT_EQ(Sorted(kelDirectory::GetFileNames(directory.Path() + "///")), Sorted(all));
    EXPECT_EQ(cursor.GetNumberOfFiles(), static_cast<int>(all.size()));
    EXPECT_EQ(kelDirectory::GetFileNames(directory / "sub"), Names());
    EXPECT_EQ(kelDirectory::GetFileNames(directory / "missing"), Names());
    EXPECT_EQ(kelDirectory::GetFileNames(""), Names());
}

TEST(kelDirectory, ManyEntries_AllCome) {
    constexpr int kEntries = 400;
    const std::string prefix(200, 'x');  // so that one call of the system does not give all of them
    const TemporaryDirectory directory;
    std::set<std::string> expected;
    for (int number = 0; number < kEntries; ++number) {
        directory.Write(*expected.insert(prefix + std::to_string(number)).first, "");
    }
    kelDirectory cursor(directory.Path());
    EXPECT_EQ(cursor.GetNumberOfFiles(), kEntries);
    const Names names = cursor.GetFileNames();
    EXPECT_EQ(names.size(), expected.size());
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expected);
}

TEST(kelDirectory, DirectoryThatVanishesWhileItIsRead_Ends) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "gone");
    kelDirectory cursor(directory / "gone");
    fs::remove(directory / "gone");
    EXPECT_EQ(cursor.GetFileNames(), Names());
    EXPECT_EQ(cursor.GetNumberOfFiles(), 0);
    std::string name;
    while (cursor.ReadNext(name) == kelStatusOk) {
    }
    EXPECT_EQ(cursor.Close(), kelStatusOk);
    EXPECT_EQ(cursor.Open(directory / "gone"), kelStatusFailed);
}

TEST(kelDirectory, Assignment_SharesTheCursor) {
    const TemporaryDirectory directory;
    kelDirectory one(directory.Path());
    kelDirectory other;
    other = one;
    EXPECT_EQ(ReadAll(one).size(), 2U);
    std::string name;
    EXPECT_EQ(other.ReadNext(name), kelStatusReadFailed) << "they have one position";
    EXPECT_EQ(other.Close(), kelStatusOk);
    EXPECT_EQ(one.Close(), kelStatusNotOpen);
}

TEST(kelDirectory, DirectoryThatMayNotBeRead_DoesNotOpen) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "closed");
    fs::permissions(directory / "closed", fs::perms::none);
    fs::permissions(directory.Path(), fs::perms::all);
    const Unprivileged user;
    kelDirectory cursor;
    EXPECT_EQ(cursor.Open(directory / "closed"), kelStatusFailed);
    EXPECT_EQ(kelDirectory::GetFileNames(directory / "closed"), Names());
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory / "closed"), kelStatusFailed);
    EXPECT_EQ(kelDirectory::Create(directory / "closed/x", 0x777, true), kelStatusFailed);
}

TEST(kelDirectory, EmptyPaths_HaveTheirStatus) {
    EXPECT_EQ(kelDirectory::Create("", 0x755, false), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::Create(nullptr, "", 0x755, true), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::Delete(""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::Delete(nullptr, ""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(""), kelStatusEmptyPath);
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(nullptr, ""), kelStatusEmptyPath);
}

TEST(kelDirectory, CreateAndDelete_Table) {
    struct Case {
        const char* path;
        int plain;
        int recursive;
        const char* why;
    };
    constexpr int kOk = kelStatusOk;
    constexpr int kNo = kelStatusFailed;
    const std::string tooLong = "new/" + std::string(4096, 'x');
    const std::vector<Case> cases = {
        {"new", kOk, kOk, "one level"},
        {"new/", kOk, kOk, "a separator behind"},
        {"a/b/c", kNo, kOk, "missing parents"},
        {"a//b/./c", kNo, kOk, "doubled separators"},
        {"~/x", kNo, kOk, "nothing is expanded"},
        {"\xFF/\xFE", kNo, kOk, "any bytes"},
        {"directory", kNo, kOk, "exists"},
        {"directory/", kNo, kOk, "exists"},
        {"linked", kNo, kOk, "a link to a directory is one"},
        {"dangling", kNo, kNo, "a link to nothing"},
        {"file", kNo, kNo, "a file has the name"},
        {"file/", kNo, kNo, "a file has the name"},
        {"file/below", kNo, kNo, "a file is on the way"},
        {"file/far/below", kNo, kNo, "a file is on the way"},
        {tooLong.c_str(), kNo, kNo, "beyond what the system takes"},
    };
    for (const bool recursive : {false, true}) {
        for (const Case& test : cases) {
            const TemporaryDirectory directory;
            const WorkingDirectory here(directory.Path());
            directory.Write("file", "content");
            fs::create_directory("directory");
            fs::create_symlink("directory", "linked");
            fs::create_symlink("nothing", "dangling");
            const std::size_t before = directory.Count();
            EXPECT_EQ(kelDirectory::Create(test.path, 0x755, recursive),
                      recursive ? test.recursive : test.plain)
                << test.path << ": " << test.why << (recursive ? ", recursive" : "");
            if (recursive ? test.recursive == kOk : test.plain == kOk) {
                EXPECT_TRUE(fs::is_directory(test.path)) << test.path;
            } else {
                EXPECT_EQ(directory.Count(), before) << test.path;
            }
        }
    }
}

TEST(kelDirectory, Create_GivesThePermissionsLessTheUmask) {
    const mode_t umaskBefore = umask(027);
    const std::vector<std::pair<int, mode_t>> cases = {
        {0x777, 0750}, {0x700, 0700}, {0x0FFF, 0750}, {0x2755, 01750}, {0x888 | 0x755, 0750}};
    for (const bool recursive : {false, true}) {
        for (const auto& [perms, mode] : cases) {
            const TemporaryDirectory directory;
            EXPECT_EQ(kelDirectory::Create(nullptr, directory / "new", perms, recursive),
                      kelStatusOk);
            struct stat status {};
            EXPECT_EQ(stat((directory / "new").c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777, mode) << std::hex << perms;
        }
    }
    umask(umaskBefore);
}

TEST(kelDirectory, Delete_TakesEmptyDirectoriesOnly) {
    const TemporaryDirectory directory;
    directory.Write("file", "");
    fs::create_directories(directory / "full/empty");
    fs::create_directory_symlink("full/empty", directory / "linked");
    for (const char* name : {"full", "file", "linked", "missing", "full/empty/.", "file/"}) {
        EXPECT_EQ(kelDirectory::Delete(directory / name), kelStatusFailed) << name;
    }
    EXPECT_EQ(directory.Count(), 4U);
    EXPECT_EQ(kelDirectory::Delete(directory / "full/empty"), kelStatusOk);
    EXPECT_EQ(kelDirectory::Delete(nullptr, directory / "full"), kelStatusOk);
    EXPECT_EQ(directory.Count(), 2U);
}

TEST(kelDirectory, CurrentDirectory_ChangesForTheProcessOrStays) {
    const TemporaryDirectory directory;
    const std::string former = kelDirectory::GetCurrentDirectory();
    EXPECT_EQ(former, fs::current_path().string());
    const WorkingDirectory back(".");
    directory.Write("file", "");
    for (const char* name : {"missing", "file"}) {
        EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory / name), kelStatusFailed);
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(nullptr), former);
    }
    fs::create_directory(directory / "\xFF");
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(directory / "./\xFF/"), kelStatusOk);
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(), fs::canonical(directory / "\xFF").string());
    EXPECT_EQ(kelDirectory::Create("here", 0x755, false), kelStatusOk);
    EXPECT_TRUE(fs::is_directory(directory / "\xFF/here"));
    EXPECT_EQ(kelDirectory::SetCurrentDirectory(nullptr, "here"), kelStatusOk);
    fs::remove(directory / "\xFF/here");
    EXPECT_EQ(kelDirectory::GetCurrentDirectory(), "") << "it has been removed";
}

TEST(kelDirectoryThreads, StaticCallsAndListings_RunSideBySide) {
    const TemporaryDirectory directory;
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (std::size_t number = 0; number < failures.size(); ++number) {
        threads.emplace_back([&, number] {
            const std::string own = directory / std::to_string(number);
            int& failed = failures[number];
            for (std::size_t round = 0; round < 50; ++round) {
                failed += kelDirectory::Create(own, 0x755, true) != kelStatusOk;
                kelFile(own + "/from", kelFile::ModeWrite | kelFile::ModeCreate).WriteLine("text");
                failed += kelFile::Copy(own + "/from", own + "/to", 0x1000) != kelStatusOk;
                failed += kelDirectory::GetFileNames(own).size() != 2;
                failed += kelDirectory(own).GetNumberOfFiles() != 2;
                failed += kelFile::Rename(own + "/to", own + "/from") != kelStatusOk;
                failed += kelFile::Delete(own + "/from") != kelStatusOk;
                failed += kelDirectory::Delete(own) != kelStatusOk;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(failures.size(), 0));
}

}  // namespace
