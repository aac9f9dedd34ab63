#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "kelDynamicObject.h"
#include "kelLibrary.h"
#include "kelProcess.h"
#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/Faults.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;

namespace {

constexpr FaultSource kSources[] = {FaultSource::Runtime, FaultSource::System, FaultSource::Memory};

Outcome OutcomeOf(int status) {
    EXPECT_TRUE(status == kelStatusOk || status == kelStatusFailed) << status;
    return status == kelStatusOk ? Outcome::Succeeded : Outcome::Failed;
}

/// Ends what is left of a round, has it collected, and sees to it that this was all.
void ExpectNoChildLeft(int pid) {
    if (pid > 0 && kelProcess::IsRunning(pid)) {
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusOk);
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
    }
    {
        kelProcess next;  // collects the one before
        EXPECT_EQ(next.Start("true", false), kelStatusOk);
        EXPECT_TRUE(Ends(next));
    }
    EXPECT_FALSE(HasChildren());
}

TEST(ProcessFaults, Start_AnyCallFails_LeavesNoChildOrAWholeOne) {
    const TemporaryDirectory directory;
    const std::string script = directory.Write("script without interpreter line", "echo $1; >ran");
    fs::permissions(script, fs::perms::owner_all);
    const std::vector<std::string> files = {directory / "a", directory / "b"};
    struct Case {
        const char* name;
        std::vector<std::string> files;
        bool closeStreams;  ///< So that the files take the numbers of the streams.
    };
    for (const Case& c :
         std::vector<Case>{{"Start with files", files, false},
                           {"Start without files", {}, false},
                           {"Start with files in the streams' place", files, true}}) {
        InChild([&] {
            if (c.closeStreams) {
                close(STDIN_FILENO);
                close(STDERR_FILENO);
            }
            for (const FaultSource source : kSources) {
                if (source == FaultSource::Runtime && c.files.empty()) {
                    continue;  // such a start makes no call of the runtime
                }
                WalkFaults(c.name, source, [&] {
                    kelProcess process;
                    int status = kelStatusFailed;
                    try {
                        status = UnderFaults([&] {
                            return process.Start(script, {"an argument that takes some memory"},
                                                 directory.Path(), c.files, true);
                        });
                    } catch (const std::bad_alloc&) {
                        EXPECT_EQ(process.GetPid(), -1);
                        ExpectNoChildLeft(-1);
                        throw;
                    }
                    EXPECT_TRUE(Ends(process));
                    EXPECT_EQ(fs::remove(directory / "ran"), status == kelStatusOk);
                    EXPECT_EQ(process.GetPid() == -1, status != kelStatusOk);
                    EXPECT_EQ(process.GetLastError().empty(), status == kelStatusOk);
                    ExpectNoChildLeft(-1);
                    return OutcomeOf(status);
                });
            }
        });
    }
}

/// Makes one call on a child that runs, and leaves none behind.
void WalkOnRunning(const char* name, FaultSource source,
                   const std::function<Outcome(kelProcess&, int pid)>& call) {
    InChild([&] {
        WalkFaults(name, source, [&] {
            int pid = -1;
            Outcome outcome = Outcome::Failed;
            {
                kelProcess process;
                EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
                pid = process.GetPid();
                outcome = call(process, pid);
            }
            ExpectNoChildLeft(pid);
            return outcome;
        });
    });
}

TEST(ProcessFaults, OnARunningChild_AnyCallFails_NothingIsLeftOrToldWrongly) {
    const FaultSource system = FaultSource::System;
    WalkOnRunning("Kill", system, [](kelProcess& process, int pid) {
        const int status = UnderFaults([&] { return process.Kill(); });
        EXPECT_EQ(process.GetPid(), -1) << "dropped, also when it failed";
        EXPECT_EQ(process.GetLastError().empty(), status == kelStatusOk);
        EXPECT_TRUE(status == kelStatusFailed ||
                    Eventually([&] { return !kelProcess::IsRunning(pid); }));
        return OutcomeOf(status);
    });
    WalkOnRunning("IsRunning", system, [](kelProcess& process, int) {
        EXPECT_TRUE(UnderFaults([&] { return process.IsRunning(); }));
        return Outcome::Succeeded;
    });
    WalkOnRunning("IsRunning of a number", system, [](kelProcess&, int pid) {
        const bool running = UnderFaults([&] { return kelProcess::IsRunning(pid); });
        return running ? Outcome::Succeeded : Outcome::Failed;
    });
    WalkOnRunning("NativeKill", system, [](kelProcess&, int pid) {
        const int status = UnderFaults([&] { return kelProcess::NativeKill(pid); });
        EXPECT_TRUE(status == kelStatusFailed ||
                    Eventually([&] { return !kelProcess::IsRunning(pid); }));
        return OutcomeOf(status);
    });
    WalkOnRunning("forgetting", system, [](kelProcess& process, int) {
        UnderFaults([&] {
            process = kelProcess(process);  // the runtime's calls are not walked here
            process = *std::make_unique<kelProcess>();
            return 0;
        });
        EXPECT_EQ(process.GetPid(), -1);
        return Outcome::Succeeded;
    });
}

TEST(ProcessFaults, OnAnEndedChild_AnyCallFails_ItIsCollectedLater) {
    InChild([] {
        WalkFaults("IsRunning", FaultSource::System, [] {
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, false), kelStatusOk);
            const int pid = process.GetPid();
            EXPECT_EQ(kill(pid, SIGKILL), 0);
            siginfo_t info{};
            EXPECT_EQ(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
            const bool running = UnderFaults([&] { return process.IsRunning(); });
            EXPECT_FALSE(process.IsRunning());
            ExpectNoChildLeft(-1);
            return running ? Outcome::Failed : Outcome::Succeeded;
        });
    });
}

TEST(ProcessFaults, Modules_AnyCallFails_LeavesAFailedLoad) {
    const std::string directory = ZUKEL_TEST_MODULES;
    const std::string suffix = kelLibrary::GetSharedLibSuffix();
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("LoadLibrary", source, [&] {
            const std::string name = directory + "/first.dll";
            kelDynamicObject object;
            const int status = UnderFaults([&] { return object.LoadLibrary(name); });
            EXPECT_EQ(object.GetLibraryName(), status == kelStatusOk ? name : "");
            EXPECT_NE(object.GetError(), "");
            long long (*symbol)() = nullptr;
            EXPECT_EQ(object.FindSymbol(&symbol, "Answer"), status);
            return OutcomeOf(status);
        });
        WalkFaults("kelLoadLibraryEx", source, [&] {
            const TemporaryDirectory modules;
            fs::copy_file(directory + "/first.dll", modules / "libn" + suffix);
            kelDynamicObject object;
            return OutcomeOf(
                UnderFaults([&] { return object.kelLoadLibraryEx(modules.Path(), "n"); }));
        });
    }
    WalkFaults("FindSymbol", FaultSource::Runtime, [&] {
        kelDynamicObject object;
        EXPECT_EQ(object.LoadLibrary(directory + "/first.dll"), kelStatusOk);
        long long (*symbol)() = nullptr;
        const int status = UnderFaults([&] { return object.FindSymbol(&symbol, "Answer"); });
        EXPECT_EQ(symbol != nullptr, status == kelStatusOk);
        return OutcomeOf(status);
    });
    WalkFaults("UnloadLibrary", FaultSource::Runtime, [&] {
        kelDynamicObject object;
        EXPECT_EQ(object.LoadLibrary(directory + "/first.dll"), kelStatusOk);
        const int status = UnderFaults([&] { return object.UnloadLibrary(); });
        long long (*symbol)() = nullptr;
        EXPECT_EQ(object.FindSymbol(&symbol, "Answer"), kelStatusFailed) << "held no more";
        EXPECT_EQ(object.UnloadLibrary(), kelStatusOk);
        return OutcomeOf(status);
    });
}

TEST(ProcessFaults, Objects_AnyCallFailsAtTheStart_AnswerTheirFailureValues) {
    for (const FaultSource source : {FaultSource::Runtime, FaultSource::Memory}) {
        WalkFaults("construction", source, [] {
            const auto made = UnderFaults([] { return std::make_unique<kelProcess>(); });
            const auto module = UnderFaults([] { return std::make_unique<kelDynamicObject>(); });
            const bool runs = made->Start("true", false) == kelStatusOk;
            EXPECT_EQ(made->GetLastError().empty(), runs);
            EXPECT_TRUE(Ends(*made));
            const bool loads = module->LoadLibrary(ZUKEL_TEST_MODULES "/first.dll") == kelStatusOk;
            EXPECT_NE(module->GetError(), "");
            EXPECT_EQ(module->UnloadLibrary(), kelStatusOk);
            return runs && loads ? Outcome::Succeeded : Outcome::Failed;
        });
    }
}

}  // namespace
