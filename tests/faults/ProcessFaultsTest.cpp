#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <string>

#include "kelProcess.h"
#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

TEST(ProcessFaults, Start_AnyCallFails_LeavesNoChildOrAWholeOne) {
    const TemporaryDirectory directory;
    const std::string script = directory.Write("script", "echo out; >ran");
    fs::permissions(script, fs::perms::owner_all);
    for (const bool closeStreams : {false, true}) {  // the files take the numbers of the streams
        InChild([&] {
            if (closeStreams) {
                close(STDIN_FILENO);
                close(STDERR_FILENO);
            }
            for (const auto source :
                 {FaultSource::Runtime, FaultSource::System, FaultSource::Memory}) {
                WalkFaults("Start", source, [&] {
                    const std::string out = directory.Write("out", "");
                    kelProcess process;
                    bool started = false;
                    try {
                        started = UnderFaults([&] {
                                      return process.Start(script, {}, directory.Path(),
                                                           {out, directory / "err"}, true);
                                  }) == kelStatusOk;
                    } catch (const std::bad_alloc&) {
                    }
                    EXPECT_TRUE(Ends(process));
                    EXPECT_EQ(fs::remove(directory / "ran"), started);
                    EXPECT_EQ(process.GetPid() != -1, started);
                    EXPECT_TRUE(AllCollected());
                    const bool whole = started && ReadWhole(out) == "out\n";
                    EXPECT_TRUE(whole == started || source == FaultSource::Runtime);
                    return whole ? Outcome::Succeeded : Outcome::Failed;
                });
            }
        });
    }
}

TEST(ProcessFaults, Kill_AnyCallFails_DropsTheChildAndLosesNone) {
    InChild([] {
        WalkFaults("Kill", FaultSource::System, [] {
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
            const int pid = process.GetPid();
            const bool done = UnderFaults([&] { return process.Kill(); }) == kelStatusOk;
            EXPECT_EQ(process.GetPid(), -1);
            EXPECT_EQ(process.GetLastError().empty(), done);
            EXPECT_TRUE(done || kelProcess::NativeKill(pid) == kelStatusOk);
            EXPECT_TRUE(AllCollected());
            return done ? Outcome::Succeeded : Outcome::Failed;
        });
    });
}

TEST(ProcessFaults, WithoutProcessDescriptors_EverythingWorksByNumbers) {
    for (const char* lacks : {"syscall", "fstatfs"}) {  // as older systems and sandboxes do
        InChild([&] {
            const AtCall lacking(lacks, [] { return ENOSYS; });
            const FaultWindow all;
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, true), kelStatusOk);
            EXPECT_TRUE(process.IsRunning() && kelProcess::IsRunning(process.GetPid()));
            EXPECT_EQ(process.Kill(), kelStatusOk);
            EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
            EXPECT_EQ(kelProcess::NativeKill(process.GetPid()), kelStatusOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(process.Kill(), kelStatusFailed);
            EXPECT_TRUE(AllCollected());
        });
    }
}

}  // namespace
