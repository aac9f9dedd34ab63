#include "support/Testing.h"

using namespace zukel::test;
using Names = std::vector<std::string>;
using kelProcessTest = InDirectory;

const std::string kChild = ZUKEL_TEST_CHILD;

/// The object failed with the system's text for the error; of Windows only with some text, as APR
/// has it in the user's language. It has no process, and the next failure has no reason.
static void ExpectIdle(kelProcess& process, int error) {
    const std::string text = kelProcess(process).GetLastError();
    EXPECT_EQ(text, kOnWindows ? text : error == 0 ? "" : std::strerror(error));
    EXPECT_EQ(text.empty(), error == 0);
    EXPECT_EQ(process.GetPid(), -1);
    EXPECT_FALSE(process.IsRunning());
    EXPECT_EQ(process.Kill(), kFailed);
    EXPECT_EQ(process.GetLastError(), "");
}

TEST_F(kelProcessTest, Start_OfWhatCannotRun_TellsTheReasonAndLeavesNoChild) {
    directory.Write("text", "not to be run"), directory.Write("alien", {"\x7f\0\n", 3});
    directory.Write("broken", "#!/no/such/interpreter\n");
    fs::permissions("broken", fs::perms::owner_all), fs::permissions("alien", fs::perms::owner_all);
    const struct {
        std::string command, folder;
        int error;
    } rows[] = {{"no-such-program-anywhere", "", ENOENT},
                {"missing.bat", "", ENOENT},
                {"", "", ENOENT},
                {kChild, "missing", ENOENT},
                {directory / "broken", "", ENOENT},
                {kChild, "text", ENOTDIR},
                {directory / "text", "", EACCES},
                {directory.Path(), "", EACCES},
                {"./alien", directory.Path(), ENOEXEC}};
    kelProcess process;
    for (const auto& [command, folder, error] : rows) {
        SCOPED_TRACE("\"" + command + "\" in \"" + folder + "\"");
        EXPECT_EQ(process.Start(kChild, false), kOk) << "which the object then forgets";
        EXPECT_EQ(process.Start(command, {}, folder, false), kFailed);
        ExpectIdle(process, error);
    }
    EXPECT_EQ(process.Start(kChild, {"say"}, "", {std::string("out\0x", 5)}, false), kOk);
    EXPECT_TRUE(Ends(process));
    EXPECT_FALSE(fs::exists("out")) << "the name of no file";
    EXPECT_TRUE(AllReaped());
}

TEST_F(kelProcessTest, OutputFiles_TakeTheStreams) {
    for (const auto& [first, second, a, b] : Table<4>(R"(
             a . 123 -    a a 123 -    a b 13 2    a ./a 123 -    missing/a b - 2
             a _ 13  -    . . -   -)")) {  // . ends the list; the third name is not looked at
        SCOPED_TRACE(first + " " + second);
        const TemporaryDirectory around;
        const Guard inside = WorkingDirectory(around.Path());
        fs::create_directory("child");
        Names files = {first, second, "c"};
        files.erase(std::find(files.begin(), files.end(), "."), files.end());
        for (const bool detach : {false, true}) {
            kelProcess process;
            EXPECT_EQ(process.Start(kChild, {"say"}, "child", files, detach), kOk);
            EXPECT_TRUE(Ends(process));
            EXPECT_TRUE(fs::remove("child/ran"));
        }
        for (const auto& [name, once] : {std::pair{"a", a}, {"b", b}, {"c", "-"}}) {
            EXPECT_EQ(fs::exists(name) ? ReadWhole(name) : "--", once + once) << "appended";
        }
    }
}

TEST_F(kelProcessTest, Program_IsFoundFromTheWorkingDirectoryAndGetsItsArguments) {
    const Names words = {"say",         "",      "two words", "a\tb",  "'\"\\",
                         "\"a\\\" b\\", "$HOME", "a*",        kOddName};
    std::string expected = "12";
    std::for_each(words.begin() + 1, words.end(), [&](auto& each) { expected += each + '\0'; });
    const std::string bin = directory / "-x", path = std::getenv("PATH");
    fs::create_directory(bin);
    if (kOnWindows) {  // where a program finds its libraries beside itself
        fs::copy(kChild, bin + "/program.exe");
        fs::copy(fs::path(kChild).parent_path() / "zukel.dll", bin);
    } else {  // a script without an interpreter is the shell's
        directory.Write("-x/program", "printf 12; shift; printf '%s\\0' \"$@\"; printf 3");
        fs::permissions(bin + "/program", fs::perms::owner_all);
    }
    directory.Write("program", "may not be run");
    const std::string part = kOnWindows ? ";" : ":", near = kOnWindows ? bin : "-x";
    const Guard back = WorkingDirectory("/");
    for (const auto& [search, command] : {std::pair{path, std::string("-x/program")},
                                          {path, bin + "/program"},
                                          {"/etc" + part + bin + part + path, "program"},
                                          {part + near + part + path, "program"}}) {
        SCOPED_TRACE(command + " along " + search);
        kelLibrary().SetEnvironmentVariable("PATH", search);
        kelProcess process;
        EXPECT_EQ(process.Start(command, words, directory.Path(), {bin + "/out"}, false), kOk);
        kelLibrary().SetEnvironmentVariable("PATH", path);
        EXPECT_TRUE(Ends(process));
        EXPECT_EQ(ReadWhole(bin + "/out"), expected + "3");
        fs::remove(bin + "/out");
    }
}

TEST_F(kelProcessTest, States_FollowTheTable) {
    kelProcess process;
    ExpectIdle(process, 0);
    for (const bool detach : {false, true}) {
        EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, detach), kOk);
        const int pid = process.GetPid();
        EXPECT_EQ(process.Start(kChild, {"sleep", "30"}, detach), kOk);
        EXPECT_EQ(kelProcess::NativeKill(pid), kOk) << "forgotten, not ended";
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
        EXPECT_EQ(kelProcess::NativeKill(pid), kFailed) << "ended";
        kelProcess copy(process);
        EXPECT_TRUE(copy.IsRunning());
        EXPECT_TRUE(kelProcess::IsRunning(copy.GetPid()));
        EXPECT_EQ(copy.Kill(), kOk);
        ExpectIdle(process, 0);
        EXPECT_EQ(process.Start(kChild, detach), kOk);
        EXPECT_TRUE(Ends(process));
        EXPECT_NE(process.GetPid(), -1) << "readable after the end";
        EXPECT_EQ(process.Kill(), kFailed);
        ExpectIdle(process, ESRCH);
    }
}
