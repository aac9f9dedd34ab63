#include "kelProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "kelLibrary.h"
#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Names = std::vector<std::string>;

namespace {

const std::string kChild = ZUKEL_TEST_CHILD;

/// The system's text for an error; of Windows only that there is one, as the runtime has it in the
/// user's language.
void ExpectReason(const kelProcess& process, int error) {
    const std::string text = kelProcess(process).GetLastError();
    EXPECT_NE(text, "");
    EXPECT_TRUE(kOnWindows || text == std::strerror(error)) << text;
}

void ExpectIdle(kelProcess& process, const std::string& text) {
    EXPECT_EQ(process.GetPid(), -1) << text;
    EXPECT_FALSE(process.IsRunning()) << text;
    EXPECT_EQ(process.GetLastError(), text);
    EXPECT_EQ(process.Kill(), kelStatusFailed) << text;
    EXPECT_EQ(process.GetLastError(), "") << text;
}

TEST(kelProcess, Start_OfWhatCannotRun_TellsTheReasonAndLeavesNoChild) {
    const TemporaryDirectory directory;
    const std::string text = directory.Write("text", "not to be run");
    const std::string broken = directory.Write("broken", "#!/no/such/interpreter\n");
    fs::permissions(broken, fs::perms::owner_all);
    struct Case {
        std::string command, directory;
        int error;
    };
    for (const Case& c : std::vector<Case>{{"no-such-program-anywhere", "", ENOENT},
                                           {"", "", ENOENT},
                                           {directory.Path(), "", EACCES},
                                           {text, "", EACCES},
                                           {broken, "", ENOENT},
                                           {kChild, directory / "missing", ENOENT},
                                           {kChild, text, ENOTDIR}}) {
        InChild([&] {
            kelProcess process;
            EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, true), kelStatusOk);
            const int former = process.GetPid();
            EXPECT_EQ(process.Start(c.command, {}, c.directory, false), kelStatusFailed);
            ExpectReason(process, c.error);
            ExpectIdle(process, process.GetLastError());
            EXPECT_EQ(kelProcess::NativeKill(former), kelStatusOk) << "forgotten, not ended";
            EXPECT_TRUE(AllCollected());
        });
    }
}

TEST(kelProcess, OutputFiles_TakeTheStreams) {
    struct Case {
        Names files;
        std::string a, b;  ///< What the files are to hold; "-": it does not exist.
    };
    for (const Case& c : std::vector<Case>{{{"a"}, "1\n2\n3\n", "-"},
                                           {{"a", "a"}, "1\n2\n3\n", "-"},
                                           {{"a", "b", "c"}, "1\n3\n", "2\n"},
                                           {{"a", "./a"}, "1\n2\n3\n", "-"},
                                           {{"missing/a", "b"}, "-", "2\n"},
                                           {{"a", ""}, "1\n3\n", "-"},
                                           {{}, "-", "-"}}) {
        const TemporaryDirectory directory;
        fs::create_directory(directory / "child");
        const Guard here = WorkingDirectory(directory.Path());
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(process.Start(kChild, {"say"}, "child", c.files, detach), kelStatusOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_TRUE(fs::remove("child/ran"));
        }
        for (const auto& [name, once] : {std::pair{"a", c.a}, std::pair{"b", c.b}}) {
            EXPECT_EQ(fs::exists(name) ? ReadWhole(name) : "--", once + once) << "appended";
        }
        EXPECT_FALSE(fs::exists("c"));
    }
}

TEST(kelProcess, Output_WithoutFiles_NeitherBlocksNorKillsTheChild) {
    const TemporaryDirectory directory;
    for (const bool held : {true, false}) {
        kelProcess process;
        EXPECT_EQ(process.Start(kChild, {"flood"}, directory.Path(), true), kelStatusOk);
        process = held ? process : kelProcess();
        std::error_code open;  // by the child, which Windows says so of
        EXPECT_TRUE(Eventually([&] { return fs::remove(directory / "ended", open); })) << held;
    }
}

TEST(kelProcess, Program_IsFoundFromTheWorkingDirectoryAndGetsItsArguments) {
    const TemporaryDirectory directory;
    fs::create_directories(directory / "bin");
    const Names arguments = {"arguments",   "",      "two words", "a\nline", "'\"\\",
                             "\"a\\\" b\\", "$HOME", "a*",        kOddName};
    std::string expected = "1";
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        expected += arguments[at] + '\0';
    }
    fs::copy(kChild, directory / (kOnWindows ? "bin/program.exe" : "bin/program"));
    if (kOnWindows) {  // where a program finds its libraries beside itself
        fs::copy(fs::path(kChild).parent_path() / "zukel.dll", directory / "bin/zukel.dll");
    }
    const std::string path = std::getenv("PATH"), part = kPathSeparator;
    const std::string bin = directory / "bin", out = directory / "out";
    for (const auto& [search, command] : {std::pair{path, std::string("bin/program")},
                                          {path, bin + "/program"},
                                          {"/etc" + part + bin + part + path, "program"},
                                          {(kOnWindows ? bin : "bin") + part + path, "program"}}) {
        kelLibrary().SetEnvironmentVariable("PATH", search);
        kelProcess process;
        EXPECT_EQ(process.Start(command, arguments, directory.Path(), {out}, false), kelStatusOk);
        kelLibrary().SetEnvironmentVariable("PATH", path);
        EXPECT_TRUE(Ends(process));
        EXPECT_EQ(ReadWhole(out), expected) << command;
        fs::remove(out);
    }
}

TEST(kelProcess, States_FollowTheTable) {
    kelProcess process;
    ExpectIdle(process, "");
    for (const bool detach : {false, true}) {
        const std::set<int> inherited = InheritedDescriptors();
        EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, detach), kelStatusOk);
        EXPECT_EQ(InheritedDescriptors(), inherited);
        const int pid = process.GetPid();
        EXPECT_TRUE(kOnWindows || SessionOf(pid) == (detach ? pid : SessionOf(0)));
        kelProcess copy(process);
        EXPECT_TRUE(copy.IsRunning() && kelProcess::IsRunning(pid));
        EXPECT_EQ(copy.Kill(), kelStatusOk);
        ExpectIdle(process, "");
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusFailed) << "ended";
        EXPECT_EQ(process.Start(kChild, detach), kelStatusOk);
        EXPECT_TRUE(Ends(process));
        EXPECT_NE(process.GetPid(), -1) << "readable after the end";
        EXPECT_EQ(process.Kill(), kelStatusFailed);
        ExpectReason(process, ESRCH);
        ExpectIdle(process, process.GetLastError());
    }
    const Guard user = Unprivileged();
    EXPECT_TRUE(kOnWindows || kelProcess::IsRunning(1)) << "of another user";
    EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
}

TEST(kelProcess, ShortProgramsFromManyThreads_LeaveNoZombiesAndOtherChildrenAlone) {
    InChild([] {
        OtherChild other;
        std::vector<std::thread> threads;
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([] {
                for (int round = 0; round < 40; ++round) {
                    EXPECT_EQ(kelProcess().Start(kChild, round % 2 == 0), kelStatusOk);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(other.Collect(), 7);
        EXPECT_TRUE(AllCollected());
    });
}

}  // namespace
