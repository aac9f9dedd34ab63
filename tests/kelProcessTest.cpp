#include "support/ChildRunner.h"

using namespace zukel::test;
using Names = std::vector<std::string>;

namespace {

const std::string kChild = ZUKEL_TEST_CHILD;

/// The object failed with the system's text for the error; of Windows only with some text, as the
/// runtime has it in the user's language. It has no process, and the next failure has no reason.
void ExpectIdle(kelProcess& process, int error) {
    const std::string text = kelProcess(process).GetLastError();
    EXPECT_EQ(text.empty(), error == 0);
    EXPECT_TRUE(kOnWindows || error == 0 || text == std::strerror(error)) << text;
    EXPECT_EQ(process.GetPid(), -1) << text;
    EXPECT_FALSE(process.IsRunning()) << text;
    EXPECT_EQ(process.Kill(), kFailed) << text;
    EXPECT_EQ(process.GetLastError(), "") << text;
}

TEST(kelProcess, Start_OfWhatCannotRun_TellsTheReasonAndLeavesNoChild) {
    const TemporaryDirectory directory;
    const std::string text = directory.Write("text", "not to be run");
    const std::string broken = directory.Write("broken", "#!/no/such/interpreter\n");
    fs::permissions(broken, fs::perms::owner_all);
    const std::tuple<std::string, std::string, int> cases[] = {
        {"no-such-program-anywhere", "", ENOENT},
        {"", "", ENOENT},
        {directory.Path(), "", EACCES},
        {text, "", EACCES},
        {kChild, directory / "missing", ENOENT},
        {broken, "", ENOENT},
        {kChild, text, ENOTDIR}};
    for (const auto& [command, where, error] : cases) {
        kelProcess process;
        EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, true), kOk);
        const int former = process.GetPid();
        EXPECT_EQ(process.Start(command, {}, where, false), kFailed);
        ExpectIdle(process, error);
        EXPECT_EQ(kelProcess::NativeKill(former), kOk) << "forgotten, not ended";
        EXPECT_TRUE(AllCollected());
    }
}

TEST(kelProcess, OutputFiles_TakeTheStreams) {
    for (const auto& [first, second, a, b] : Table<4>(R"(
             a . 123 -    a a 123 -    a b 13 2    a ./a 123 -    missing/a b - 2
             a _ 13  -    . . -   -)")) {  // . ends the list; the third name is not looked at
        const TemporaryDirectory directory;
        fs::create_directory(directory / "child");
        const Guard here = WorkingDirectory(directory.Path());
        Names files = {first, second, "c"};
        files.erase(std::find(files.begin(), files.end(), "."), files.end());
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(process.Start(kChild, {"say"}, "child", files, detach), kOk);
            EXPECT_TRUE(Ends(process) && fs::remove("child/ran"));
        }
        for (const auto& [name, once] : {std::pair{"a", a}, {"b", b}, {"c", "-"}}) {
            EXPECT_EQ(fs::exists(name) ? ReadWhole(name) : "--", once + once) << "appended";
        }
    }
}

TEST(kelProcess, Output_WithoutFiles_NeitherBlocksNorKillsTheChild) {
    const TemporaryDirectory directory;
    for (const bool held : {true, false}) {
        kelProcess process;
        EXPECT_EQ(process.Start(kChild, {"flood"}, directory.Path(), true), kOk);
        process = held ? process : kelProcess();
        std::error_code open;  // by the child, which Windows says so of
        EXPECT_TRUE(Eventually([&] { return fs::remove(directory / "ended", open); })) << held;
    }
}

TEST(kelProcess, Program_IsFoundFromTheWorkingDirectoryAndGetsItsArguments) {
    const TemporaryDirectory directory;
    const Names arguments = {"arguments",   "",      "two words", "a\tb",  "'\"\\",
                             "\"a\\\" b\\", "$HOME", "a*",        kOddName};
    std::string expected;
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        expected += arguments[at] + '\0';
    }
    const std::string bin = directory / "bin", path = std::getenv("PATH");
    fs::create_directory(bin);
    fs::copy(kChild, bin + (kOnWindows ? "/program.exe" : "/program"));
    if (kOnWindows) {  // where a program finds its libraries beside itself
        fs::copy(fs::path(kChild).parent_path() / "zukel.dll", bin);
    }
    const std::string part = kOnWindows ? ";" : ":", near = kOnWindows ? bin : "bin";
    for (const auto& [search, command] : {std::pair{path, std::string("bin/program")},
                                          {path, bin + "/program"},
                                          {"/etc" + part + bin + part + path, "program"},
                                          {near + part + path, "program"}}) {
        kelLibrary().SetEnvironmentVariable("PATH", search);
        kelProcess process;
        EXPECT_EQ(process.Start(command, arguments, directory.Path(), {bin + "/out"}, false), kOk);
        kelLibrary().SetEnvironmentVariable("PATH", path);
        EXPECT_TRUE(Ends(process));
        EXPECT_EQ(ReadWhole(bin + "/out"), expected) << command;
        fs::remove(bin + "/out");
    }
}

TEST(kelProcess, States_FollowTheTable) {
    kelProcess process;
    ExpectIdle(process, 0);
    for (const bool detach : {false, true}) {
        EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, detach), kOk);
        const int pid = process.GetPid();
        kelProcess copy(process);
        EXPECT_TRUE(copy.IsRunning() && kelProcess::IsRunning(pid));
        EXPECT_EQ(copy.Kill(), kOk);
        ExpectIdle(process, 0);
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
        EXPECT_EQ(kelProcess::NativeKill(pid), kFailed) << "ended";
        EXPECT_EQ(process.Start(kChild, detach), kOk);
        EXPECT_TRUE(Ends(process));
        EXPECT_NE(process.GetPid(), -1) << "readable after the end";
        EXPECT_EQ(process.Kill(), kFailed);
        ExpectIdle(process, ESRCH);
    }
    EXPECT_FALSE(kelProcess::IsRunning(0x7FFFFFFF));
    EXPECT_EQ(kelProcess::NativeKill(0x7FFFFFFF), kFailed);
}

TEST(kelProcess, ShortProgramsFromManyThreads_LeaveNoZombies) {
    InThreads([](int number) {
        for (int round = 0; round < 40; ++round) {
            EXPECT_EQ(kelProcess().Start(kChild, number % 2 == 0), kOk);
        }
    });
    EXPECT_TRUE(AllCollected());
}

}  // namespace
