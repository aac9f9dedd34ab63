#include <atomic>
#include <fstream>

#include "support/Testing.h"

using namespace zukel::test;
using Options = kelProcessOptions;

namespace {

const std::string kChild = ZUKEL_TEST_CHILD;

Options Command(const zuStlVector<zuString>& arguments) {
    Options options;
    options.command = kChild;
    options.arguments = arguments;
    return options;
}

constexpr long long kLong = 60000000;

std::string Bytes(std::size_t size) {
    std::string bytes(size, ' ');
    for (std::size_t at = 0; at < size; ++at) {
        bytes[at] = static_cast<char>('a' + at % 23);
    }
    return bytes;
}

TEST(kelProcess, ExitCode_IsKeptForCopiesAfterTheEnd) {
    for (const int code : {0, 3, 255}) {
        SCOPED_TRACE(code);
        kelProcess process;
        int told = -1;
        EXPECT_EQ(process.GetExitCode(told), kFailed) << "never started";
        ASSERT_EQ(process.Start(Command({"exit", std::to_string(code)})), kOk);
        const kelProcess copy(process);
        EXPECT_EQ(process.Wait(-1), kOk);
        EXPECT_FALSE(copy.IsRunning());
        EXPECT_EQ(kelProcess().Start(kChild, false), kOk) << "which collects";
        EXPECT_EQ(copy.GetExitCode(told), kOk);
        EXPECT_EQ(told, code);
        EXPECT_EQ(copy.GetSignal(told), kFailed);
        EXPECT_EQ(told, code);
        EXPECT_EQ(process.Wait(0), kOk) << "again";
    }
}

TEST(kelProcess, Wait_EndsWithTheTimeOrTheProcess) {
    kelProcess process;
    EXPECT_EQ(process.Wait(0), kFailed) << "never started";
    ASSERT_EQ(process.Start(Command({"sleep", "30"})), kOk);
    int told = -1;
    for (const long long time : {0LL, 1LL, 50000LL}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(process.Wait(time), kelStatusTimedOut) << time;
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(time));
    }
    EXPECT_EQ(process.GetExitCode(told), kFailed) << "it runs";
    EXPECT_EQ(process.Kill(), kOk);
    EXPECT_EQ(process.GetPid(), -1);
    EXPECT_EQ(process.Wait(kLong), kOk) << "for what was killed";
    EXPECT_EQ(kOnWindows ? process.GetExitCode(told) : process.GetSignal(told), kOk);
    EXPECT_EQ(told, 15);
    EXPECT_EQ(kOnWindows ? process.GetSignal(told) : process.GetExitCode(told), kFailed);
}

TEST(kelProcess, Threads_WaitForManyChildren) {
    std::vector<std::thread> threads;
    kelProcess shared;
    ASSERT_EQ(shared.Start(Command({"exit", "7"})), kOk);
    std::atomic<int> right{0};
    for (int code = 1; code <= 4; ++code) {
        threads.emplace_back([&right, code, copy = kelProcess(shared)]() mutable {
            for (int round = 0; round < 5; ++round) {
                kelProcess own;
                int told = -1;
                own.Start(Command({"exit", std::to_string(code)}));
                right += own.Wait(kLong) == kOk && own.GetExitCode(told) == kOk && told == code;
                right += copy.Wait(kLong) == kOk && copy.GetExitCode(told) == kOk && told == 7;
            }
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& each) { each.join(); });
    EXPECT_EQ(right, 40);
}

TEST(kelProcess, Options_GiveTheChildItsStreamsAndVariables) {
    const TemporaryDirectory directory;
    const kelLibrary library;
    const std::string in = directory.Write("in", "from a file"), out = directory / "out";
    Options options = Command({"both"});
    options.input = {Options::StreamFile, in};
    options.output = options.errors = {Options::StreamFile, out};
    kelProcess process;
    EXPECT_EQ(process.Start(options), kOk);
    EXPECT_EQ(process.Wait(kLong), kOk);
    EXPECT_EQ(ReadWhole(out), "from a filefrom a file");
    options.errors = {Options::StreamNothing, {}};
    options.input = {Options::StreamNothing, {}};
    EXPECT_EQ(process.Start(options), kOk);
    EXPECT_EQ(process.Wait(kLong), kOk);
    EXPECT_EQ(ReadWhole(out), "from a filefrom a file") << "appended nothing";

    kelLibrary().SetEnvironmentVariable("ZUKEL_GIVEN", "by the caller");
    const struct {
        bool empty;
        zuStlVector<zuString> removed;
        zuStlVector<std::pair<zuString, zuString>> set;
        const char* expected;
    } cases[] = {
        {false, {}, {}, "by the caller"},
        {false, {"ZUKEL_GIVEN"}, {}, "none"},
        {false, {"ZUKEL_GIVEN"}, {{"ZUKEL_GIVEN", "a"}, {"ZUKEL_GIVEN", "b=c"}}, "b=c"},
        {false, {}, {{"ZUKEL_GIVEN", "a"}}, "a"},
        {true, {}, {}, "none"},
        {true, {}, {{"ZUKEL_GIVEN", "a"}}, "a"},
    };
    for (const auto& [empty, removed, set, expected] : cases) {
        SCOPED_TRACE(expected);
        options = Command({"variable", "ZUKEL_GIVEN"});
        options.emptyEnvironment = empty;
        options.removedVariables = removed;
        options.setVariables = set;
        if (empty && kOnWindows) {
            continue;  // Wine's programs find nothing without any
        }
        zuString output, errors;
        int code = -1;
        EXPECT_EQ(kelProcess::Run(options, "", output, errors, code, kLong), kOk);
        EXPECT_EQ(output, expected);
    }
}

TEST(kelProcess, Options_ThatCannotBeHadStartNothing) {
    const TemporaryDirectory directory;
    const std::string nul("a\0b", 3);
    const struct {
        const char* name;
        std::function<void(Options&)> spoil;
    } cases[] = {
        {"input file",
         [&](Options& it) {
             it.input = {Options::StreamFile, directory / "no"};
         }},
        {"output file",
         [&](Options& it) {
             it.output = {Options::StreamFile, directory / "no/no"};
         }},
        {"file with a NUL",
         [&](Options& it) {
             it.errors = {Options::StreamFile, nul};
         }},
        {"command", [&](Options& it) { it.command = kChild + nul; }},
        {"argument", [&](Options& it) { it.arguments.push_back(nul); }},
        {"directory", [&](Options& it) { it.directory = directory / "no"; }},
        {"removed", [&](Options& it) { it.removedVariables = {""}; }},
        {"name",
         [&](Options& it) {
             it.setVariables = {{"a=b", "c"}};
         }},
        {"value",
         [&](Options& it) {
             it.setVariables = {{"a", nul}};
         }},
    };
    for (const auto& [name, spoil] : cases) {
        SCOPED_TRACE(name);
        Options options = Command({});
        spoil(options);
        kelProcess process;
        EXPECT_EQ(process.Start(options), kFailed);
        EXPECT_FALSE(process.GetLastError().empty());
        EXPECT_EQ(process.GetPid(), -1);
    }
}

TEST(kelProcess, Pipes_FullBothWays_NeverHang) {
    Options options = Command({"both"});
    options.input.kind = options.output.kind = options.errors.kind = Options::StreamPipe;
    kelProcess process;
    ASSERT_EQ(process.Start(options), kOk);
    const std::string sent = Bytes(3000001);
    EXPECT_EQ(process.WriteInput(sent.data(), sent.size()), kOk) << "before anything is read";
    EXPECT_EQ(process.CloseInput(), kOk);
    EXPECT_EQ(process.CloseInput(), kFailed) << "closed";
    EXPECT_EQ(process.WriteInput("x", 1), kFailed) << "closed";
    using Reader = int (kelProcess::*)(void*, unsigned long long&);
    for (const Reader read : {Reader(&kelProcess::ReadOutput), Reader(&kelProcess::ReadErrors)}) {
        std::string received;
        std::vector<char> room(7777);
        unsigned long long size = 1;
        while (size > 0) {
            size = room.size();
            ASSERT_EQ((process.*read)(room.data(), size), kOk);
            received.append(room.data(), size);
        }
        EXPECT_TRUE(received == sent) << received.size();
    }
    EXPECT_EQ(process.Wait(kLong), kOk);
}

TEST(kelProcess, Pipes_OfAProcessThatDoesNotRead_FailAndRaiseNothing) {
    Options options = Command({"exit", "4"});
    options.input.kind = Options::StreamPipe;
    kelProcess process;
    char room[4];
    unsigned long long size = sizeof room;
    ASSERT_EQ(process.Start(options), kOk);
    EXPECT_EQ(process.Wait(kLong), kOk);
    const std::string sent = Bytes(200000);
    EXPECT_EQ(process.WriteInput(sent.data(), sent.size()), kFailed);
    EXPECT_EQ(process.ReadOutput(room, size), kFailed) << "there is no such pipe";
    EXPECT_EQ(size, sizeof room);
    int code = -1;
    zuString output, errors;
    EXPECT_EQ(kelProcess::Run(options, sent, output, errors, code, kLong), kOk);
    EXPECT_EQ(code, 4);
}

TEST(kelProcess, Run_CollectsAllOfBothOutputs) {
    for (const std::size_t size : {0U, 1U, 65536U, 5000000U}) {
        SCOPED_TRACE(size);
        const std::string sent = Bytes(size);
        zuString output = "before", errors = "before";
        int code = -1;
        EXPECT_EQ(kelProcess::Run(Command({"both"}), sent, output, errors, code, kLong), kOk);
        EXPECT_TRUE(output == sent) << output.size();
        EXPECT_TRUE(errors == sent) << errors.size();
        EXPECT_EQ(code, 0);
    }
    EXPECT_TRUE(AllReaped());
}

TEST(kelProcess, Run_ThatTakesTooLong_EndsTheProgramAndWhatItHasStarted) {
    for (const char* const then : {"wait", "go"}) {  // and what keeps the pipes open
        SCOPED_TRACE(then);
        const TemporaryDirectory directory;
        const std::string note = directory / "note";
        zuString output = "before", errors = "before";
        int code = -1;
        EXPECT_EQ(kelProcess::Run(Command({"leave", note, then}), "", output, errors, code,
                                  kOnWindows ? 3000000 : 500000),
                  kelStatusTimedOut);
        EXPECT_EQ(output + errors, "beforebefore");
        EXPECT_EQ(code, -1);
        const int pid = std::stoi("0" + ReadWhole(note));
        EXPECT_GT(pid, 1) << "it was too slow for this test";
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
    }
    zuString text;
    int code = -1;
    EXPECT_EQ(kelProcess::Run(Command({}), "", text, text, code, 0), kelStatusTimedOut);
    EXPECT_TRUE(AllReaped());
}

}  // namespace
