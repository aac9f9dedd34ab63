#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "kelDirectory.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using zukel::test::FaultReach;
using zukel::test::Faults;
using zukel::test::FaultSource;
using zukel::test::Outcome;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

using Names = std::vector<std::string>;

Outcome OutcomeOf(bool succeeded) {
    return succeeded ? Outcome::Succeeded : Outcome::Failed;
}

TEST(DirectoryFaults, Open_AnyCallFails_LeavesAClosedObjectWithoutName) {
    const TemporaryDirectory directory;
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("Open", source, [&] {
            return UnderFaults([&] {
                kelDirectory cursor;
                const int status = cursor.Open(directory.Path());
                EXPECT_EQ(cursor.GetName().empty(), status != kelStatusOk);
                return OutcomeOf(status == kelStatusOk);
            });
        });
    }
}

TEST(DirectoryFaults, Listings_EndWhereTheFaultStrikes) {
    const TemporaryDirectory directory;
    for (const char* name : {"a file with a name that is not short", "b", "c"}) {
        directory.Write(name, "");
    }
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("GetFileNames", source, [&] {
            return UnderFaults([&] {
                return OutcomeOf(kelDirectory::GetFileNames(directory.Path()).size() == 3);
            });
        });
    }
    WalkFaults("GetNumberOfFiles", FaultSource::Runtime, [&] {
        kelDirectory cursor(directory.Path());
        return OutcomeOf(UnderFaults([&] { return cursor.GetNumberOfFiles(); }) == 3);
    });
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("ReadFirst and ReadNext", source, [&] {
            kelDirectory cursor(directory.Path());
            std::string name;
            int entries = 0;
            int status = kelStatusOk;
            while (status == kelStatusOk) {
                const std::string before = name;
                status = UnderFaults(
                    [&] { return entries == 0 ? cursor.ReadFirst(name) : cursor.ReadNext(name); });
                if (status == kelStatusOk) {
                    ++entries;
                } else {
                    EXPECT_EQ(name, before);
                }
            }
            return OutcomeOf(entries == 5);
        });
    }
}

TEST(DirectoryFaults, FailedRewind_IsToldAsNotOpen) {
    const TemporaryDirectory directory;
    kelDirectory cursor(directory.Path());
    const Faults fault(FaultSource::Runtime, 1, FaultReach::FromThenOn);
    std::string name;
    EXPECT_EQ(UnderFaults([&] { return cursor.ReadFirst(name); }), kelStatusNotOpen);
    EXPECT_EQ(UnderFaults([&] { return cursor.ReadNext(name); }), kelStatusReadFailed);
}

TEST(DirectoryFaults, FailedClose_LeavesAnOpenDirectoryThatCannotBeRead) {
    const TemporaryDirectory directory;
    const int descriptors = zukel::test::OpenDescriptors();
    kelDirectory cursor(directory.Path());
    {
        const Faults fault(FaultSource::Runtime, 1, FaultReach::Once);
        EXPECT_EQ(UnderFaults([&] { return cursor.Close(); }), kelStatusFailed);
    }
    EXPECT_EQ(zukel::test::OpenDescriptors(), descriptors) << "the runtime has closed it";
    std::string name = "as it was";
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(cursor.Open("/"), kelStatusOk);
        EXPECT_EQ(cursor.GetName(), directory.Path());
        EXPECT_EQ(cursor.ReadFirst(name), kelStatusNotOpen);
        EXPECT_EQ(cursor.ReadNext(name), kelStatusReadFailed);
        EXPECT_EQ(cursor.GetFileNames(), Names());
        EXPECT_EQ(cursor.GetNumberOfFiles(), 0);
        EXPECT_EQ(cursor.Close(), kelStatusFailed);
    }
    EXPECT_EQ(name, "as it was");
    kelDirectory other(directory.Path());
    other = cursor;
    EXPECT_EQ(other.Close(), kelStatusFailed);
}

TEST(DirectoryFaults, Operations_TheCallFails_ChangesNothing) {
    const TemporaryDirectory directory;
    const std::string path = directory / "a directory with a long name";
    const fs::path here = fs::current_path();
    const std::vector<std::pair<const char*, std::function<bool()>>> operations = {
        {"Create", [&] { return kelDirectory::Create(path, 0x755, false) == kelStatusOk; }},
        {"Create recursively",
         [&] { return kelDirectory::Create(path, 0x755, true) == kelStatusOk; }},
        {"Delete",
         [&] { return kelDirectory::Delete(nullptr, directory / "empty") == kelStatusOk; }},
        {"GetCurrentDirectory", [&] { return kelDirectory::GetCurrentDirectory() == here; }},
        {"SetCurrentDirectory",
         [&] { return kelDirectory::SetCurrentDirectory(directory.Path()) == kelStatusOk; }}};
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        for (const auto& [name, operation] : operations) {
            if (source == FaultSource::Memory && std::string(name) != "GetCurrentDirectory") {
                continue;  // these need none
            }
            WalkFaults(name, source, [&, &operation = operation] {
                fs::remove(path);
                fs::create_directory(directory / "empty");
                const bool succeeded = UnderFaults(operation);
                if (!succeeded) {
                    EXPECT_TRUE(fs::exists(directory / "empty"));
                    EXPECT_EQ(fs::current_path(), here);
                }
                fs::current_path(here);
                return OutcomeOf(succeeded);
            });
        }
    }
}

}  // namespace
