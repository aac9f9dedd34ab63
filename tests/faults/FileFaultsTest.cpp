#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kelFile.h"
#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

using zukel::test::FaultReach;
using zukel::test::Faults;
using zukel::test::FaultSource;
using zukel::test::Outcome;
using zukel::test::ReadWhole;
using zukel::test::RuntimeUsers;
using zukel::test::TemporaryDirectory;
using zukel::test::UnderFaults;
using zukel::test::WalkFaults;

namespace {

constexpr int kReadWrite = kelFile::ModeRead | kelFile::ModeWrite;

Outcome OutcomeOf(int status) {
    EXPECT_TRUE(status == kelStatusOk || status == kelStatusFailed) << status;
    return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
}

/// Makes the object and opens it, all with the fault counting.
Outcome OpenNew(const std::string& name, int mode) {
    return UnderFaults([&] {
        kelFile file;
        const int status = file.Open(name, mode);
        EXPECT_EQ(file.IsOpen(), status == kelStatusOk);
        EXPECT_EQ(file.GetFileName().empty(), status != kelStatusOk);
        return OutcomeOf(status);
    });
}

TEST(FileFaults, Open_AnyCallFails_LeavesAClosedObjectWithoutName) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a file with a name that is not short";
    const int mode = kReadWrite | kelFile::ModeCreate;
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("Open", source, [&] { return OpenNew(name, mode | kelFile::ModeBuffered); });
    }
    WalkFaults("Open without clean-up", FaultSource::System,
               [&] { return OpenNew(name, mode | kelFile::ModeNoCleanup); });
}

TEST(FileFaults, CreateTemporaryFile_AnyCallFails_LeavesNothingBehind) {
    const TemporaryDirectory directory;
    for (const std::string& name : {directory / "XXXXXX", std::string("zukel-faults-XXXXXX")}) {
        for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
            WalkFaults("CreateTemporaryFile", source, [&] {
                kelFile file;
                const int status = UnderFaults([&] { return file.CreateTemporaryFile(name); });
                EXPECT_EQ(file.IsOpen(), status == kelStatusOk);
                EXPECT_EQ(directory.Count(), file.GetFileName().rfind(directory.Path(), 0) == 0);
                return OutcomeOf(status);
            });
        }
    }
    EXPECT_EQ(directory.Count(), 0U);
}

TEST(FileFaults, DataOperations_TheCallFails_LeavesTheArgumentsAlone) {
    const TemporaryDirectory directory;
    int value = 0;
    long wide = 0;
    unsigned long long size = 0;
    char text[8] = "";
    const std::vector<std::pair<const char*, std::function<int(kelFile&)>>> operations = {
        {"Read value", [&](kelFile& file) { return file.Read(value); }},
        {"Read long", [&](kelFile& file) { return file.Read(wide); }},
        {"Read block", [&](kelFile& file) { return file.Read(text, size); }},
        {"ReadLine", [&](kelFile& file) { return file.ReadLine(text, sizeof text); }},
        {"Write value", [&](kelFile& file) { return file.Write(7); }},
        {"WriteLine", [&](kelFile& file) { return file.WriteLine("12345678"); }},
        {"SeekTo", [&](kelFile& file) { return file.SeekTo(2); }},
        {"SeekToEnd", [&](kelFile& file) { return file.SeekToEnd(); }},
        {"Close", [&](kelFile& file) { return file.Close(); }},
    };
    for (const int buffer : {0, int{kelFile::ModeBuffered}}) {
        for (const auto& [name, operation] : operations) {
            WalkFaults(name, FaultSource::Runtime, [&, &operation = operation] {
                kelFile file(directory.Write("file", "0123456789abcdef"), kReadWrite | buffer);
                EXPECT_EQ(file.Write(0), kelStatusOk);  // so that a buffer is there to write out
                value = 42;
                wide = 42;
                size = 4;
                std::fill(std::begin(text), std::end(text), 'x');
                const int status = UnderFaults([&] { return operation(file); });
                if (status != kelStatusOk) {
                    EXPECT_EQ(value, 42);
                    EXPECT_EQ(wide, 42);
                    EXPECT_TRUE(size == 0 || size == 4);
                    EXPECT_EQ(std::string(text, 4), "xxxx");
                    EXPECT_FALSE(file.IsOpen() && file.EndOfFile());
                }
                return OutcomeOf(status);
            });
        }
    }
}

TEST(FileFaults, BufferedWrites_TellExactlyWhatWasTaken) {
    const TemporaryDirectory directory;
    const std::string block(3000, 'x');
    for (const FaultReach reach : {FaultReach::Once, FaultReach::FromThenOn}) {
        for (int nth = 1; nth <= 8; ++nth) {
            const std::string name = directory.Write("file", "");
            unsigned long long taken = 0;
            {
                kelFile file(name, kelFile::ModeWrite | kelFile::ModeBuffered);
                const Faults fault(FaultSource::Runtime, nth, reach);
                for (int round = 0; round < 5; ++round) {
                    unsigned long long size = block.size();
                    const int status = UnderFaults([&] { return file.Write(block.data(), size); });
                    EXPECT_EQ(size == block.size(), status == kelStatusOk);
                    taken += size;
                }
                EXPECT_TRUE(fault.Struck()) << nth;
            }
            EXPECT_EQ(ReadWhole(name).size(), taken) << "fault " << nth;
        }
    }
}

TEST(Runtime, Users_AreThoseOfTheLiveObjects) {
    const TemporaryDirectory directory;
    const int none = RuntimeUsers();
    {
        const kelLibrary library;
        kelLibrary copy(library);
        EXPECT_EQ(RuntimeUsers(), none + 2) << "a copy is a user of its own";
        copy = library;
        EXPECT_EQ(RuntimeUsers(), none + 1) << "an assignment shares";
        kelFile file(directory / "file", kReadWrite | kelFile::ModeCreate);
        EXPECT_EQ(RuntimeUsers(), none + 2);
    }
    EXPECT_EQ(RuntimeUsers(), none);
    EXPECT_TRUE(kelFile(directory / "file", kReadWrite).IsOpen()) << "started anew";
    EXPECT_EQ(RuntimeUsers(), none);
}

TEST(Runtime, FailedStart_LeavesObjectsThatFailAndALaterStartThatWorks) {
    const TemporaryDirectory directory;
    for (const int failing : {1, 2}) {  // the start itself, then the pool
        const Faults fault(FaultSource::Runtime, failing, FaultReach::Once);
        UnderFaults([&] {
            kelFile file;
            EXPECT_EQ(file.Open(directory / "file", kReadWrite | kelFile::ModeCreate),
                      kelStatusFailed);
            EXPECT_EQ(file.CreateTemporaryFile(directory / "XXXXXX"), kelStatusFailed);
            EXPECT_EQ(file.Close(), kelStatusFailed);
            EXPECT_TRUE(file.EndOfFile());
            EXPECT_FALSE(file.IsOpen());
            return 0;
        });
        EXPECT_TRUE(fault.Struck());
        EXPECT_TRUE(kelFile(directory / "later", kReadWrite | kelFile::ModeCreate).IsOpen());
    }
    EXPECT_EQ(RuntimeUsers(), 0);
}

}  // namespace
