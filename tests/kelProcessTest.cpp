#include "kelProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "kelStatus.h"
#include "support/ChildRunner.h"
#include "support/System.h"
#include "support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using namespace zukel::test;
using Names = std::vector<std::string>;

namespace {

template <typename... Arguments>
auto CanStart(int)
    -> decltype(std::declval<kelProcess&>().Start(std::declval<Arguments>()...), std::true_type{});
template <typename...>
std::false_type CanStart(...);

// A text never becomes the detach switch.
using Text = const char (&)[4];
static_assert(decltype(CanStart<Text, bool>(0))::value);
static_assert(decltype(CanStart<Text, Names, bool>(0))::value);
static_assert(decltype(CanStart<Text, Names, Text, bool>(0))::value);
static_assert(decltype(CanStart<Text, Names, Text, Names, bool>(0))::value);
static_assert(!decltype(CanStart<Text, Text>(0))::value);
static_assert(!decltype(CanStart<Text, Names, Text>(0))::value);
static_assert(!decltype(CanStart<Text, Names, Text, Text>(0))::value);
static_assert(!decltype(CanStart<Text, const std::string*>(0))::value);

/// Runs a script of the shell to its end.
void RunScript(const std::string& script, const Names& files, const std::string& directory = "",
               const Names& more = {}) {
    Names arguments{"-c", script, "name"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    kelProcess process;
    EXPECT_EQ(process.Start("/bin/sh", arguments, directory, files, false), kelStatusOk)
        << process.GetLastError();
    EXPECT_TRUE(Ends(process)) << script;
}

TEST(kelProcess, Start_OfWhatCannotRun_TellsTheReasonAndLeavesNoChild) {
    const TemporaryDirectory directory;
    directory.Write("text", "not to be run");
    const std::string noProgram = directory.Write("broken", "#!/no/such/interpreter\n");
    fs::permissions(noProgram, fs::perms::owner_all);
    struct Case {
        std::string command;
        Names arguments;
        std::string directory;
        int error;
        const char* why;
    };
    const std::vector<Case> cases = {
        {"no-such-program-anywhere", {}, "", ENOENT, "not on the path"},
        {directory / "missing", {}, "", ENOENT, "no such file"},
        {"", {}, "", ENOENT, "the empty name"},
        {directory.Path(), {}, "", EACCES, "a directory"},
        {directory / "text", {}, "", EACCES, "without the right to run"},
        {noProgram, {}, "", ENOENT, "its interpreter is missing"},
        {directory / "text/below", {}, "", ENOTDIR, "a file in the place of a directory"},
        {"true", {}, directory / "missing", ENOENT, "no such working directory"},
        {"true", {}, directory / "text", ENOTDIR, "a file as working directory"},
        {"true", {std::string(128 * 1024, 'a')}, "", E2BIG, "an argument too long"},
        {std::string(300, 'n'), {}, "", ENAMETOOLONG, "a name too long"},
    };
    InChild([&] {
        kelProcess process;
        const std::size_t descriptors = Descriptors();
        for (const Case& c : cases) {
            for (const bool detach : {false, true}) {
                EXPECT_EQ(process.Start(c.command, c.arguments, c.directory,
                                        {directory / "out", directory / "err"}, detach),
                          kelStatusFailed)
                    << c.why;
                ExpectIdle(process, std::strerror(c.error), c.why);
                EXPECT_FALSE(HasChildren()) << c.why;
                EXPECT_EQ(Descriptors(), descriptors) << c.why;
            }
        }
        EXPECT_EQ(process.Start("no-such-program-anywhere", false), kelStatusFailed);
        EXPECT_EQ(process.Start("true", {}, true), kelStatusOk);
        EXPECT_EQ(process.GetLastError(), "") << "emptied by the next start";
        EXPECT_TRUE(Ends(process));
    });
}

TEST(kelProcess, Arguments_ReachTheChildUnchanged) {
    const TemporaryDirectory directory;
    const Names arguments = {"",
                             " ",
                             "two words",
                             "a\nline",
                             "\t",
                             "'",
                             "\"",
                             "\\",
                             "$HOME",
                             "*",
                             "-c",
                             "\x80\xFF",
                             "`true`",
                             "; exit",
                             "\xC3\xA5",
                             "last one",
                             std::string(128 * 1024 - 1, 'a')};
    std::string expected;
    for (const std::string& argument : arguments) {
        expected += argument + '\0';
    }
    RunScript("printf '%s\\0' \"$@\"", {directory / "out"}, "", arguments);
    EXPECT_EQ(ReadWhole(directory / "out"), expected);
    kelProcess process;
    EXPECT_EQ(process.Start("cat", {"/proc/self/cmdline"}, "", {directory / "name"}, false),
              kelStatusOk);
    EXPECT_TRUE(Ends(process));
    EXPECT_EQ(ReadWhole(directory / "name"), std::string("cat\0/proc/self/cmdline\0", 23));
}

TEST(kelProcess, OutputFiles_TakeTheStreams) {
    struct Case {
        Names files;
        std::string a;  ///< What the file is to hold; "-": it does not exist.
        std::string b;
        const char* why;
    };
    for (const Case& c : std::vector<Case>{
             {{"a"}, "1\n2\n3\n", "-", "one name takes both in order"},
             {{"a", "a"}, "1\n2\n3\n", "-", "two equal names likewise"},
             {{"a", "b"}, "1\n3\n", "2\n", "each its own"},
             {{"a", "b", "c"}, "1\n3\n", "2\n", "further names are not looked at"},
             {{"a", "./a"}, "1\n2\n3\n", "-", "one file under two names: appended by both"},
             {{"missing/a", "b"}, "-", "2\n", "the first cannot be opened"},
             {{"a", "missing/b"}, "1\n3\n", "-", "the second cannot be opened"},
             {{"missing/a"}, "-", "-", "neither can"},
             {{"", "b"}, "-", "2\n", "an empty name cannot either"},
             {{}, "-", "-", "none"},
         }) {
        for (const bool detach : {false, true}) {
            const TemporaryDirectory directory;
            fs::create_directory(directory / "child");
            const WorkingDirectory here(directory.Path());
            const std::size_t descriptors = Descriptors();
            for (int time = 0; time < 2; ++time) {
                kelProcess process;
                EXPECT_EQ(process.Start("/bin/sh", {"-c", "echo 1; echo 2 >&2; echo 3; >ran"},
                                        "child", c.files, detach),
                          kelStatusOk)
                    << c.why;
                EXPECT_TRUE(Ends(process));
                EXPECT_TRUE(fs::remove("child/ran")) << c.why;
            }
            EXPECT_EQ(Descriptors(), descriptors) << c.why;
            for (const auto& [name, once] : {std::pair{"a", c.a}, std::pair{"b", c.b}}) {
                EXPECT_EQ(fs::exists(name), once != "-") << c.why;
                if (fs::exists(name)) {
                    EXPECT_EQ(ReadWhole(name), once + once) << "appended: " << c.why;
                }
            }
            EXPECT_FALSE(fs::exists("c"));
        }
    }
}

TEST(kelProcess, OutputFiles_HoldWhenTheCallerHasClosedItsStreams) {
    const TemporaryDirectory directory;
    for (int closed = 0; closed < 8; ++closed) {
        const std::string out = directory / "out" + std::to_string(closed);
        const std::string err = directory / "err" + std::to_string(closed);
        InChild([&] {
            for (int stream = 0; stream < 3; ++stream) {
                if ((closed >> stream & 1) != 0) {
                    close(stream);
                }
            }
            kelProcess process;
            const int status =
                process.Start("/bin/sh", {"-c", "echo out; echo err >&2"}, "", {out, err}, false);
            if (status != kelStatusOk || !Ends(process)) {
                _exit(3);  // an expectation may have no stream to speak to
            }
        });
        EXPECT_EQ(ReadWhole(out), "out\n") << closed;
        EXPECT_EQ(ReadWhole(err), "err\n") << closed;
    }
}

TEST(kelProcess, Output_WithoutRedirection_NeitherBlocksNorKills) {
    const TemporaryDirectory directory;
    const std::string script =
        "head -c 1000000 /dev/zero && head -c 1000000 /dev/zero >&2 && mv begun ended";
    directory.Write("begun", "");
    RunScript(script, {}, directory.Path());
    EXPECT_TRUE(fs::exists(directory / "ended")) << "while the object lives";
    fs::rename(directory / "ended", directory / "begun");
    {
        kelProcess process;
        EXPECT_EQ(process.Start("/bin/sh", {"-c", "sleep 0.05; " + script}, directory.Path(), true),
                  kelStatusOk);
    }
    EXPECT_TRUE(Eventually([&] { return fs::exists(directory / "ended"); })) << "and afterwards";
}

TEST(kelProcess, Child_InheritsWhatItShould) {
    const TemporaryDirectory directory;
    const std::string out = directory / "out";
    setenv("ZUKEL_TEST_INHERITED", "inherited value", 1);
    RunScript("echo \"$ZUKEL_TEST_INHERITED\"; pwd", {out});
    unsetenv("ZUKEL_TEST_INHERITED");
    EXPECT_EQ(ReadWhole(out), "inherited value\n" + fs::current_path().string() + "\n");

    const std::string input = directory.Write("input", "from standard input");
    const std::string states = directory / "states";
    InChild([&] {
        close(0);
        EXPECT_EQ(open(input.c_str(), O_RDONLY), 0);
        signal(SIGPIPE, SIG_IGN);
        signal(SIGCHLD, SIG_IGN);
        signal(SIGUSR1, [](int) {});
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR2);
        pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
        // Not through the shell, which has signal states of its own.
        kelProcess cat;
        EXPECT_EQ(cat.Start("cat", {"-", "/proc/self/status"}, "", {states}, false), kelStatusOk);
        EXPECT_TRUE(Ends(cat)) << "also with SIGCHLD ignored: " << cat.IsRunning();
        EXPECT_EQ(cat.Kill(), kelStatusFailed);
        EXPECT_EQ(cat.GetLastError(), std::strerror(ESRCH));
    });
    const std::string status = ReadWhole(states);
    EXPECT_EQ(status.rfind("from standard input", 0), 0U);
    const auto signals = [&](const std::string& which) {
        return std::stoull(status.substr(status.find(which + ":") + which.size() + 1), nullptr, 16);
    };
    const auto bit = [](int signal) { return 1ULL << (signal - 1); };
    EXPECT_EQ(signals("SigBlk"), bit(SIGUSR2));
    EXPECT_EQ(signals("SigIgn") & (bit(SIGPIPE) | bit(SIGCHLD)), bit(SIGPIPE));
    EXPECT_EQ(signals("SigCgt"), 0U);

    kelProcess sleeper;
    const std::set<int> inherited = InheritedDescriptors();
    EXPECT_EQ(sleeper.Start("sleep", {"30"}, false), kelStatusOk);
    EXPECT_EQ(InheritedDescriptors(), inherited) << "nothing of one child reaches another";
    EXPECT_EQ(sleeper.Kill(), kelStatusOk);
}

TEST(kelProcess, Start_WritesNothingOfTheCallersTwice) {
    const TemporaryDirectory directory;
    const std::string name = directory / "buffered";
    InChild([&] {
        std::FILE* const file = std::fopen(name.c_str(), "a");
        std::fputs("once\n", file);
        static std::string atExit = directory / "at-exit";
        std::atexit([] { std::fputs("x", std::fopen(atExit.c_str(), "a")); });
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(process.Start("true", detach), kelStatusOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(process.Start("no-such-program-anywhere", detach), kelStatusFailed);
        }
        std::fclose(file);
    });
    EXPECT_EQ(ReadWhole(name), "once\n");
    EXPECT_FALSE(fs::exists(directory / "at-exit"));
}

TEST(kelProcess, Program_IsFoundFromTheWorkingDirectory) {
    const TemporaryDirectory directory;
    fs::create_directories(directory / "child/bin");
    const auto write = [&](const std::string& name, const std::string& text) {
        fs::permissions(directory.Write(name, text), fs::perms::owner_all);
    };
    write("child/bin/program", "#!/bin/sh\necho program $0 $1\n");
    write("child/bin/script", "echo script $0 $1\n");  // no interpreter line
    write("child/here", "echo here $0 $1\n");
    write("child/bin/empty", "");
    const WorkingDirectory away("/");
    const std::string path = getenv("PATH");
    const std::string bin = directory / "child/bin";
    struct Case {
        std::string path;
        std::string command;
        std::string output;
    };
    for (const Case& c : std::vector<Case>{
             {path, "bin/program", "program bin/program 1\n"},
             {path, "./bin/script", "script ./bin/script 1\n"},
             {path, bin + "/script", "script " + bin + "/script 1\n"},
             {path, "bin/empty", ""},
             {"bin:" + path, "program", "program bin/program 1\n"},
             {"/no/such:/etc:" + bin + ":" + path, "script", "script " + bin + "/script 1\n"},
             {"bin:" + path, "script", "script bin/script 1\n"},
             {path + ":", "here", "here ./here 1\n"},
             {"", "here", "here ./here 1\n"},
         }) {
        setenv("PATH", c.path.c_str(), 1);
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(
                process.Start(c.command, {"1"}, directory / "child", {directory / "out"}, detach),
                kelStatusOk)
                << c.command << ": " << process.GetLastError();
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(ReadWhole(directory / "out"), c.output) << c.command << " along " << c.path;
            fs::remove(directory / "out");
        }
    }
    setenv("PATH", path.c_str(), 1);
}

TEST(kelProcess, Detach_PutsTheChildInASessionOfItsOwn) {
    for (const bool detach : {false, true}) {
        kelProcess process;
        EXPECT_EQ(process.Start("sleep", {"30"}, detach), kelStatusOk);
        EXPECT_EQ(getsid(process.GetPid()), detach ? process.GetPid() : getsid(0));
        EXPECT_TRUE(process.IsRunning());
        EXPECT_EQ(process.Kill(), kelStatusOk);
    }
}

}  // namespace
