#include "kelProcess.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Names = std::vector<std::string>;

namespace {

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
                                           {"true", directory / "missing", ENOENT},
                                           {"true", text, ENOTDIR}}) {
        InChild([&] {
            kelProcess process;
            EXPECT_EQ(process.Start("sleep", {"30"}, true), kelStatusOk);
            const int former = process.GetPid();
            EXPECT_EQ(process.Start(c.command, {}, c.directory, false), kelStatusFailed);
            ExpectIdle(process, std::strerror(c.error));
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
        const std::string script = "echo 1; echo 2 >&2; echo 3; >ran";
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(process.Start("sh", {"-c", script}, "child", c.files, detach), kelStatusOk);
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
    const std::string script =
        "sleep 0.05; head -c 1000000 /dev/zero && head -c 1000000 /dev/zero >&2 && >ended";
    for (const bool held : {true, false}) {
        kelProcess process;
        EXPECT_EQ(process.Start("sh", {"-c", script}, directory.Path(), true), kelStatusOk);
        process = held ? process : kelProcess();
        EXPECT_TRUE(Eventually([&] { return fs::remove(directory / "ended"); })) << held;
    }
}

TEST(kelProcess, Program_IsFoundFromTheWorkingDirectoryAndGetsItsArguments) {
    const TemporaryDirectory directory;
    fs::create_directories(directory / "bin");
    const Names arguments = {"", "two words", "a\nline", "'\"\\", "$HOME", "*", "\x80\xFF"};
    std::string expected = "1";
    for (const std::string& argument : arguments) {
        expected += argument + '\0';
    }
    const std::string script = "printf 1; printf '%s\\0' \"$@\"";  // no interpreter line
    fs::permissions(directory.Write("bin/program", script), fs::perms::owner_all);
    const std::string path = getenv("PATH");
    const std::string bin = directory / "bin", out = directory / "out";
    for (const auto& [search, command] : {std::pair{path, std::string("bin/program")},
                                          {path, bin + "/program"},
                                          {"/etc:" + bin + ":" + path, "program"},
                                          {"bin:" + path, "program"}}) {
        setenv("PATH", search.c_str(), 1);
        kelProcess process;
        EXPECT_EQ(process.Start(command, arguments, directory.Path(), {out}, false), kelStatusOk);
        setenv("PATH", path.c_str(), 1);
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
        EXPECT_EQ(process.Start("sleep", {"30"}, detach), kelStatusOk);
        EXPECT_EQ(InheritedDescriptors(), inherited);
        const int pid = process.GetPid();
        EXPECT_EQ(getsid(pid), detach ? pid : getsid(0));
        kelProcess copy(process);
        EXPECT_TRUE(copy.IsRunning() && kelProcess::IsRunning(pid));
        EXPECT_EQ(copy.Kill(), kelStatusOk);
        ExpectIdle(process, "");
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
        EXPECT_EQ(kelProcess::NativeKill(pid), kelStatusFailed) << "ended";
        EXPECT_EQ(process.Start("true", detach), kelStatusOk);
        EXPECT_TRUE(Ends(process));
        EXPECT_NE(process.GetPid(), -1) << "readable after the end";
        EXPECT_EQ(process.Kill(), kelStatusFailed);
        ExpectIdle(process, std::strerror(ESRCH));
    }
    const Guard user = Unprivileged();
    EXPECT_TRUE(kelProcess::IsRunning(1)) << "of another user";
    EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
}

TEST(kelProcess, ShortProgramsFromManyThreads_LeaveNoZombiesAndOtherChildrenAlone) {
    InChild([] {
        const pid_t own = fork();
        if (own == 0) {
            _exit(7);
        }
        std::vector<std::thread> threads;
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([] {
                for (int round = 0; round < 40; ++round) {
                    EXPECT_EQ(kelProcess().Start("true", round % 2 == 0), kelStatusOk);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        int status = 0;
        EXPECT_EQ(waitpid(own, &status, 0), own);
        EXPECT_EQ(WEXITSTATUS(status), 7);
        EXPECT_TRUE(AllCollected());
    });
}

}  // namespace
