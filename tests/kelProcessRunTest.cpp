// Processes with options: streams, variables, exit codes, and `kelProcess::Run`.

#include "support/Testing.h"

using namespace zukel::test;
using Options = kelProcessOptions;
using kelProcessRunTest = InDirectory;

namespace {

constexpr long long kLong = 60000000;
const std::string kNul("a\0b", 3);

Options Command(const zuStlVector<zuString>& arguments) {
    Options options;
    options.command = ZUKEL_TEST_CHILD;
    options.arguments = arguments;
    return options;
}

Options::Stream File(const std::string& name) {
    return {Options::StreamFile, name};
}

/// Bytes that standard streams of Windows leave as they are.
std::string Letters(std::size_t size) {
    std::string text = Noise(size);
    std::for_each(text.begin(), text.end(), [](char& each) { each = char('a' + (each & 15)); });
    return text;
}

/// What `kelProcess::Run` returns.
struct Ran {
    zuString output = "before", errors = "before";
    int code = -1, status;
    Ran(const Options& options, const std::string& input, long long patience = kLong)
        : status(kelProcess::Run(options, input, output, errors, code, patience)) {}
};

TEST_F(kelProcessRunTest, ExitCodes_AreKeptForCopiesInAllThreads) {
    kelProcess shared;
    ASSERT_EQ(shared.Start(Command({"exit", "255"})), kOk);
    InThreads(4, [&](int number) {
        for (int round = 0; round < 5; ++round) {
            kelProcess own;
            EXPECT_EQ(own.Start(Command({"exit", std::to_string(number)})), kOk);
            std::pair<kelProcess, int> rows[] = {{own, number}, {shared, 255}};
            for (auto& [process, code] : rows) {
                int told = -1;
                EXPECT_THAT(Statuses({process.Wait(kLong), process.Wait(0)}), Each(kOk));
                EXPECT_FALSE(kelProcess(process).IsRunning());
                EXPECT_EQ(process.GetExitCode(told), kOk);
                EXPECT_EQ(process.GetSignal(told), kFailed);
                EXPECT_EQ(told, code);
            }
        }
    });
}

TEST_F(kelProcessRunTest, Wait_EndsWithTheTimeOrTheProcess) {
    kelProcess process;
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
    EXPECT_EQ(process.GetExitCode(told), kOnWindows ? kOk : kFailed);
    EXPECT_EQ(process.GetSignal(told), kOnWindows ? kFailed : kOk);
    EXPECT_EQ(told, 15);
}

TEST_F(kelProcessRunTest, Streams_AreFilesOrNothing) {
    Options options = Command({"both"});
    options.input = File(directory.Write("in", "from a file"));
    options.output = options.errors = File("out");
    kelProcess process;
    EXPECT_EQ(process.Start(options), kOk);
    EXPECT_EQ(process.Wait(kLong), kOk);
    EXPECT_EQ(ReadWhole("out"), "from a filefrom a file");
    for (Options::Stream* stream : {&options.errors, &options.input}) {
        stream->kind = Options::StreamNothing;  // whatever its file
        EXPECT_EQ(process.Start(options), kOk);
        EXPECT_EQ(process.Wait(kLong), kOk);
        EXPECT_EQ(ReadWhole("out"), "from a filefrom a filefrom a file");
    }
}

TEST_F(kelProcessRunTest, Variables_AreRemovedFirstAndThenSet) {
    kelLibrary().SetEnvironmentVariable("ZUKEL_GIVEN", "by the caller");
    const struct {
        bool empty;
        zuStlVector<zuString> removed;
        zuStlVector<std::pair<zuString, zuString>> set;
        const char* expected;
    } rows[] = {
        {false, {}, {}, "by the caller"},
        {false, {"ZUKEL_GIVEN"}, {}, "none"},
        {false, {"ZUKEL_GIVEN"}, {{"ZUKEL_GIVEN", "a"}, {"ZUKEL_GIVEN", "b=c"}}, "b=c"},
        {false, {}, {{"ZUKEL_GIVEN", "a"}}, "a"},
        {true, {}, {}, "none"},
        {true, {}, {{"ZUKEL_GIVEN", "a"}}, "a"},
    };
    for (const auto& [empty, removed, set, expected] : rows) {
        if (empty && kOnWindows) {
            continue;  // Wine's programs find nothing without any
        }
        SCOPED_TRACE(expected + std::string(empty ? ", from an empty environment" : ""));
        Options options = Command({"variable", "ZUKEL_GIVEN"});
        options.emptyEnvironment = empty;
        options.removedVariables = removed;
        options.setVariables = set;
        const Ran ran(options, "");
        EXPECT_EQ(ran.status, kOk);
        EXPECT_EQ(ran.output, expected);
    }
}

TEST_F(kelProcessRunTest, Options_ThatCannotBeHadStartNothing) {
    const std::pair<const char*, std::function<void(Options&)>> rows[] = {
        {"input file", [&](Options& it) { it.input = File("no"); }},
        {"output file", [&](Options& it) { it.output = File("no/no"); }},
        {"file with a NUL", [&](Options& it) { it.errors = File(kNul); }},
        {"removed", [&](Options& it) { it.removedVariables = {""}; }},
        {"name", [&](Options& it) { it.setVariables.emplace_back("a=b", "c"); }},
        {"value", [&](Options& it) { it.setVariables.emplace_back("a", kNul); }},
    };
    for (const auto& [name, spoil] : rows) {
        SCOPED_TRACE(name);
        Options options = Command({});
        spoil(options);
        kelProcess process;
        EXPECT_EQ(process.Start(options), kFailed);
        EXPECT_NE(process.GetLastError(), "");
        EXPECT_EQ(process.GetPid(), -1);
    }
}

TEST_F(kelProcessRunTest, Pipes_FullBothWays_NeverHang) {
    Options options = Command({"both"});
    options.input.kind = options.output.kind = options.errors.kind = Options::StreamPipe;
    kelProcess process;
    ASSERT_EQ(process.Start(options), kOk);
    const std::string sent = Letters(3000001);
    EXPECT_EQ(process.WriteInput(sent.data(), sent.size()), kOk) << "before anything is read";
    EXPECT_EQ(process.CloseInput(), kOk);
    EXPECT_EQ(process.CloseInput(), kFailed) << "closed";
    EXPECT_EQ(process.WriteInput("x", 1), kFailed) << "closed";
    for (const auto read : {&kelProcess::ReadOutput, &kelProcess::ReadErrors}) {
        std::string received, room(7777, '\0');
        unsigned long long size = 1;
        while (size > 0) {
            size = room.size();
            ASSERT_EQ((process.*read)(room.data(), size), kOk);
            received.append(room, 0, size);
        }
        EXPECT_TRUE(received == sent) << received.size();
    }
    EXPECT_EQ(process.Wait(kLong), kOk);
}

TEST_F(kelProcessRunTest, Pipes_OfAProcessThatDoesNotRead_FailAndRaiseNothing) {
    Options options = Command({"exit", "4"});
    options.input.kind = Options::StreamPipe;
    kelProcess process;
    char room[4];
    unsigned long long size = sizeof room;
    ASSERT_EQ(process.Start(options), kOk);
    EXPECT_EQ(process.Wait(kLong), kOk);
    const std::string sent = Letters(200000);
    EXPECT_EQ(process.WriteInput(sent.data(), sent.size()), kFailed);
    EXPECT_EQ(process.ReadOutput(room, size), kFailed) << "there is no such pipe";
    EXPECT_EQ(size, sizeof room);
    const Ran ran(options, sent);
    EXPECT_EQ(ran.status, kOk);
    EXPECT_EQ(ran.code, 4);
}

TEST_F(kelProcessRunTest, Run_CollectsAllOfBothOutputs) {
    for (const std::size_t size : {0U, 1U, 65536U, 5000000U}) {
        SCOPED_TRACE(size);
        const std::string sent = Letters(size);
        const Ran ran(Command({"both"}), sent);
        EXPECT_EQ(ran.status, kOk);
        EXPECT_TRUE(ran.output == sent) << ran.output.size();
        EXPECT_TRUE(ran.errors == sent) << ran.errors.size();
        EXPECT_EQ(ran.code, 0);
    }
    EXPECT_TRUE(AllReaped());
}

TEST_F(kelProcessRunTest, Run_ThatTakesTooLong_EndsTheProgramAndWhatItHasStarted) {
    for (const char* const then : {"wait", "go"}) {  // and what keeps the pipes open
        SCOPED_TRACE(then);
        const Ran ran(Command({"leave", directory.Write("note"), then}), "",
                      kOnWindows ? 3000000 : 500000);
        EXPECT_EQ(ran.status, kelStatusTimedOut);
        EXPECT_EQ(ran.output, "before");
        EXPECT_EQ(ran.errors, "before");
        EXPECT_EQ(ran.code, -1);
        const int pid = std::stoi("0" + ReadWhole("note"));
        EXPECT_GT(pid, 1) << "it was too slow for this test";
        EXPECT_TRUE(Eventually([&] { return !kelProcess::IsRunning(pid); }));
    }
    EXPECT_EQ(Ran(Command({}), "", 0).status, kelStatusTimedOut);
    EXPECT_TRUE(AllReaped());
}

}  // namespace
