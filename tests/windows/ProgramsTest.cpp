// Programs and modules as only Windows starts and loads them.

#include <windows.h>

#include <clocale>

#include "support/Testing.h"

using namespace zukel::test;
using WindowsPrograms = InDirectory;

using Names = zuStlVector<zuString>;

const std::string kChild = ZUKEL_TEST_CHILD;

TEST_F(WindowsPrograms, BatchFiles_GetEachArgumentAsItIsOrDoNotStart) {
    directory.Write("t.bat", "@echo 1=%1>\"%~dp0out\"\r\n@echo all=%*>>\"%~dp0out\"\r\n");
    const std::string out = directory / "out";
    for (const std::string name : {"t.bat", "T.BAT", "t.bat.", "t.bat ", "t.bat. .", "t"}) {
        for (const std::string argument :
             {"", "x", "a b", "x&cd", "x>file", "x|cd", "^x", "(x)", "!x!", "a=b;c,d", "end\\"}) {
            SCOPED_TRACE(name + " with " + argument);
            kelProcess process;
            const auto start = [&] {
                return process.Start(directory / name, {argument, "y"}, true);
            };
            ASSERT_EQ(Started(start), kOk) << process.GetLastError();
            EXPECT_TRUE(Ends(process));
            EXPECT_EQ(ReadWhole(out),
                      "1=\"" + argument + "\"\r\nall=\"" + argument + "\" \"y\"\r\n");
            fs::remove(out);
        }
        for (const std::string argument : {"a\"b", "\"&cd&\"", "%PATH%", "50%", "a\nb", "a\rb"}) {
            SCOPED_TRACE(name + " with " + argument);
            kelProcess process;
            EXPECT_EQ(process.Start(directory / name, {argument}, false), kFailed);
            EXPECT_NE(process.GetLastError(), "");
        }
    }
    EXPECT_EQ(directory.Count(), 1) << "the script alone";
}

TEST_F(WindowsPrograms, Arguments_DoNotDependOnTheLocale) {
    const Guard locale([] { std::setlocale(LC_ALL, "C"); });
    std::setlocale(LC_ALL, ".1252");  // in which half an à is a space
    kelProcess process;
    const Names words = {"say", "C:\\Voil\xC3\xA0\\", "second", "x", "\\\\\"", "a\\ "};
    ASSERT_EQ(process.Start(kChild, words, directory.Path(), {directory / "out"}, false), kOk);
    EXPECT_TRUE(Ends(process));
    std::string expected = "12";
    std::for_each(words.begin() + 1, words.end(), [&](auto& each) { expected += each + '\0'; });
    EXPECT_EQ(ReadWhole(directory / "out"), expected + "3");
}

TEST_F(WindowsPrograms, HandlesOfTheApplication_DoNotReachAChild) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE reader = nullptr, writer = nullptr;
    ASSERT_NE(CreatePipe(&reader, &writer, &inherited, 0), 0);
    kelProcess process;
    ASSERT_EQ(process.Start(kChild, {"sleep", "30"}, false), kOk);
    CloseHandle(writer);
    char first = 0;
    DWORD got = 0;
    EXPECT_EQ(PeekNamedPipe(reader, &first, 1, &got, nullptr, nullptr), 0) << "the child has it";
    EXPECT_EQ(process.Kill(), kOk);
    CloseHandle(reader);
}

TEST_F(WindowsPrograms, WhatStandsInTheCurrentDirectory_IsNotTaken) {
    fs::copy(kChild, directory / "planted.exe");
    fs::create_directory(directory / "plugins");
    for (const std::string name : {"planted.dll", "plugins/below.dll"}) {
        fs::copy(ZUKEL_TEST_MODULES "/first.dll", directory / name);
    }
    kelProcess process;
    kelDynamicObject module;
    const std::string path = std::getenv("PATH");
    for (const std::string& search : {path, ";.;" + path}) {
        kelLibrary().SetEnvironmentVariable("PATH", search);
        EXPECT_EQ(process.Start("planted", false), kFailed);
        EXPECT_EQ(process.Start("planted.exe", false), kFailed);
        EXPECT_EQ(module.LoadLibrary("planted.dll"), kFailed);
    }
    kelLibrary().SetEnvironmentVariable("PATH", path);
    EXPECT_EQ(process.Start("./planted", false), kOk) << "which names it";
    EXPECT_TRUE(Ends(process));
    EXPECT_EQ(module.LoadLibrary("./planted.dll"), kOk);
    EXPECT_EQ(module.LoadLibrary("./planted"), kFailed) << "nothing is added";
    EXPECT_EQ(module.kelLoadLibraryEx("plugins", "below"), kOk);
}

TEST_F(WindowsPrograms, IdentifiersBesideOneAndTheCodeThatStandsForRunning_AreNobodysAndAnEnd) {
    kelProcess process, ended;
    ASSERT_EQ(process.Start(kChild, {"sleep", "30"}, true), kOk);
    for (int beside = 1; beside < 4; ++beside) {  // the system takes them for the one before
        EXPECT_FALSE(kelProcess::IsRunning(process.GetPid() + beside));
        EXPECT_EQ(kelProcess::NativeKill(process.GetPid() + beside), kFailed);
    }
    EXPECT_TRUE(process.IsRunning());
    EXPECT_EQ(process.Kill(), kOk);
    ASSERT_EQ(ended.Start("cmd.exe", {"/c", "exit", "259"}, false), kOk);
    EXPECT_TRUE(Ends(ended));
    EXPECT_FALSE(kelProcess::IsRunning(ended.GetPid()));
}
