// Every operation that may fail, with every call below it failing in turn: of the runtime, of the
// system and of `operator new`. A table of operations tells what each may fail with, and what it
// then leaves.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <new>

#include "platform/FileOperations.h"
#include "support/Faults.h"

using namespace zukel::test;
using zukel::platform::MoveAcrossVolumes;
using Directory = kelDirectory;
using Memory = kelSharedMemory;
using Library = kelLibrary;

namespace {

const std::string kModule = ZUKEL_TEST_MODULES "/first.dll";
const std::string kUnset = "$ZUKEL_NAME_OF_A_VARIABLE_THAT_IS_NOT_SET/" + std::string(20, 'x');
const std::string kFrom = "the source of a transfer", kTo = "the target of a transfer";

const std::string kNew = "the contents that a file gets, longer than a string holds in itself";

int Status(bool succeeded) {
    return succeeded ? kOk : kFailed;
}

/// How many descriptors a program started now would have.
int Inheritable() {
    int count = 0;
    for (int number = 0; number < 40; ++number) {
        count += fcntl(number, F_GETFD) == 0 ? 1 : 0;
    }
    return count;
}

using Entries = std::map<std::string, std::string>;

/// What stands around an operation: names, and objects in the middle of their work. Every name is
/// longer than a string holds in itself.
struct World {
    const int inheritable = Inheritable();
    const TemporaryDirectory place, beyond{"/dev/shm"};  ///< On two volumes.
    const std::string file = place.Write("a file that has sixteen bytes", "0123456789abcdef");
    const std::string missing = place / "nothing stands here as yet", from = place / kFrom;
    const std::string program = place.Write("a program without an interpreter", "echo out; >ran");
    const std::string folder = place / "an empty directory, to be deleted";
    const std::string taken = place / "the name of a segment that stands";
    std::string to = place / kTo;

    Library library;
    kelMappedFile mapped;
    kelFile empty{&library}, open{file, kReadWrite}, buffered{file, kReadWrite | kBuffered};
    Directory closed{&library}, listing{place.Path()};
    Memory none{&library}, owner, attached;
    kelDynamicObject module{&library};
    kelProcess process;
    int pid = -1;  ///< Of the child that was running at the start.
    kelTime time{1000};

    std::tuple<char, short, unsigned short, wchar_t, int, unsigned, long, unsigned long, float,
               double>
        values;
    zuString text = "untouched";
    zuStlVector<zuString> names;
    char line[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    unsigned long long size = 4;
    long long offset = -1;
    zuDiskInfo disk;
    kelMemoryInfo memory;
    long long (*answer)() = nullptr;
    const Guard back = WorkingDirectory(".");

    World() {
        fs::create_directory(folder);
        fs::permissions(program, fs::perms::owner_all);
        EXPECT_EQ(buffered.Write('0'), kOk) << "something to write out, which changes nothing";
        EXPECT_EQ(owner.Create(100, taken) + attached.Attach(taken), kOk);
    }
    ~World() {
        siginfo_t own{};
        if (pid > 1 && waitid(P_PID, id_t(pid), &own, WEXITED | WNOHANG | WNOWAIT) == 0) {
            EXPECT_EQ(kill(pid, SIGKILL), 0) << "what was to end it has dropped it";
        }
        EXPECT_TRUE(pid == -1 || AllReaped());
        none = owner = attached = Memory();
        for (const std::string& name : {missing, taken}) {
            EXPECT_TRUE(Memory().Remove(name) != kOk || !fault.once) << "a segment is left";
        }
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// The current directory, what the files hold and the links say in both directories, and what
    /// has been read.
    Entries Names() const {
        Entries all = {{"", fs::relative(fs::current_path(), place.Path())},
                       {"/", std::string(line, 8)}};
        std::apply([&](auto... each) { ((all["/"] += ' ' + std::to_string(each)), ...); }, values);
        for (const auto* each : {&place, &beyond}) {
            for (const auto& entry : fs::recursive_directory_iterator(each->Path())) {
                all[entry.path().filename()] = entry.is_symlink() ? fs::read_symlink(entry).string()
                                               : entry.is_directory() ? "directory"
                                                                      : ReadWhole(entry.path());
            }
        }
        return all;
    }
};

/// What a failure leaves.
enum class After {
    AsBefore,           ///< Everything; the same call then succeeds.
    Ended,              ///< Every name; the object is ended, and the same call fails.
    NoPartOfIt,         ///< As before, or no target.
    Made,               ///< As before, or what was to be made: only the last look at it failed.
    Replaced,           ///< As before, or the new contents: only the last wait failed.
    AsBeforeOrRenamed,  ///< As before; if clearing up fails too, under some name of the directory.
};

constexpr auto kSame = After::AsBefore;

struct Row {
    std::string name;
    std::function<int(World&)> call;
    After after = After::AsBefore;
    int failure = kFailed;
    std::function<void(World&)> prepare = [](World&) {};
    bool plain = true;  ///< One operation, and none of the test's own work.
};
#define CALL(...) #__VA_ARGS__, [=]([[maybe_unused]] World & it) -> int { return __VA_ARGS__; }

/// Makes the row's call, and looks at what it leaves; whether it succeeded. The first success,
/// which no fault strikes, tells what the names are after each.
bool Step(const Row& row, Entries& after) {
    World it;
    row.prepare(it);
    auto before = it.Names();
    bool succeeded = false;
    try {
        const int status = UnderFaults([&] { return row.call(it); });
        if (status != row.failure && (status != kelStatusAccessDenied || fault.error != EACCES)) {
            EXPECT_EQ(status, kOk);
        }
        succeeded = status == kOk;
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(fault.source, FaultSource::Memory);
    }
    auto now = it.Names();
    EXPECT_EQ(Inheritable(), it.inheritable);
    if (succeeded) {
        after = after.empty() ? now : after;
        const bool mayStay = !fault.once || fault.struck.substr(0, 6) == "unlink";
        EXPECT_TRUE(now == after || mayStay) << "more than what has to stay";
        EXPECT_TRUE(now.count(kTo) == 0 || now[kTo] == before[kFrom]);
        return true;
    }
    if (row.after == After::NoPartOfIt) {
        EXPECT_TRUE(now[kTo].empty() || now[kTo] == before[kTo] || !fault.once);
        now[kTo] = before[kTo];
    } else if (row.after == After::AsBeforeOrRenamed && !fault.once) {
        for (const auto& former : before) {
            const auto same = [&](const auto& each) { return each.second == former.second; };
            EXPECT_TRUE(std::any_of(now.begin(), now.end(), same));
        }
        now = before;
    } else if (row.after == After::Replaced) {
        for (auto entry = now.begin(); entry != now.end();) {
            const auto former = before.find(entry->first);
            const bool replaced = entry->second == kNew && former != before.end();
            entry->second = replaced ? former->second : entry->second;
            const bool stays = !fault.once && entry->first.rfind(".zukel-", 0) == 0;
            entry = stays || entry->second == kNew ? now.erase(entry) : std::next(entry);
        }
    } else if (row.after == After::Made) {
        now.erase(fs::path(it.missing).filename());
    }
    EXPECT_EQ(now, before);
    EXPECT_EQ(it.text, "untouched");
    EXPECT_THAT(it.size, testing::AnyOf(4, 0));
    if (fault.once) {
        EXPECT_EQ(row.call(it) == kOk, row.after != After::Ended) << "the same call again";
    }
    return false;
}

// Instrumented code takes several times the stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kLeastStack = 1 << 20;
#else
constexpr std::size_t kLeastStack = 16 << 10;
#endif

/// Makes the row's call in a thread of a process of its own, which it may end. The process ends
/// with 0 when the call has succeeded and the thread has ended as expected.
///
/// @param cancelled whether the thread is cancelled before the call begins.
[[noreturn]] void StepInThread(const Row& row, std::size_t stack, bool cancelled) {
    void* result = nullptr;
    bool done = false;
    {
        World it;
        row.prepare(it);
        std::function<void()> call = [&] {
            cancelled ? pthread_cancel(pthread_self()) : 0;
            done = row.call(it) == kOk;
            pthread_testcancel();
        };
        const auto body = [](void* work) -> void* {
            (*static_cast<std::function<void()>*>(work))();
            return nullptr;
        };
        pthread_attr_t attributes;
        pthread_t thread;
        pthread_attr_init(&attributes);
        const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
        EXPECT_EQ(pthread_attr_setstacksize(&attributes, std::max(stack, least)), 0);
        EXPECT_EQ(pthread_create(&thread, &attributes, body, &call), 0);
        EXPECT_EQ(pthread_join(thread, &result), 0);
    }
    EXPECT_EQ(result, cancelled ? PTHREAD_CANCELED : nullptr);
    _exit(done && !testing::Test::HasFailure() ? 0 : 1);
}

void StepInThreads(const Row& row) {
    const auto ends = testing::ExitedWithCode(0);
    EXPECT_EXIT(StepInThread(row, kLeastStack, false), ends, "") << row.name;
    // APR's search for a directory, and a module's own code, may be cancelled.
    if (row.name.find("GetTempDir") + row.name.find("LoadLibrary") == 2 * std::string::npos) {
        EXPECT_EXIT(StepInThread(row, 1 << 20, true), ends, "") << row.name << ", cancelled";
    }
}

/// Steps through each row with the nth call of each source failing, n from 1 until the step passes
/// without a fault, once and from there on, and of the system once with each error by which it
/// refuses, lacks a call, or is interrupted; up to the first row in which a check fails.
void Walk(const std::vector<Row>& rows,
          const std::vector<int>& refusals = {EIO, EPERM, ENOSYS, EINTR}) {
    constexpr auto kRuntime = FaultSource::Runtime, kMemory = FaultSource::Memory;
    constexpr auto kSystem = FaultSource::System;
    std::vector<FaultPlan> walks = {{kRuntime, 1, true}, {kRuntime}, {kMemory, 1, true},
                                    {kMemory},           {kSystem},  {kSystem, 1, false, EACCES}};
    for (const int error : refusals) {
        walks.push_back({kSystem, 1, true, error});
    }
    const Library started;  // what is not given back to APR shows only while it runs
    for (const Row& row : rows) {
        Entries after;
        {
            const int inheritable = Inheritable();
            const Guard looks = AtCall("", [&] {
                EXPECT_TRUE(!row.plain || Inheritable() <= inheritable)
                    << row.name << ": a child would get " << Inheritable() << " descriptors";
                return 0;
            });
            Step(row, after);  // what is made once and kept is made here
        }
        if (row.plain) {
            StepInThreads(row);
        }
        int struck = 0;
        for (FaultPlan plan : walks) {
            for (bool strikes = true; strikes; ++plan.nth) {
                const auto before = WhatIsHeld();
                const Guard armed = Arm(plan);
                const bool succeeded = Step(row, after);
                strikes = !fault.struck.empty();
                struck += strikes ? 1 : 0;
                EXPECT_TRUE(strikes || succeeded) << "failed without a fault";
                EXPECT_LT(plan.nth, 1000) << "no end";
                EXPECT_EQ(WhatIsHeld(), before) << "users of APR, its pools, blocks, descriptors";
                if (testing::Test::HasFailure()) {
                    FAIL() << row.name << ": call " << plan.nth << ", " << fault.struck
                           << (plan.once ? ", once with " : ", and the rest with ") << plan.error;
                }
            }
        }
        EXPECT_GT(struck, 0) << row.name << ": nothing was walked";
    }
}

TEST(FaultWalk, Surroundings) {
    constexpr int kNoVariable = kelStatusNoVariable, kNoUser = kelStatusNoUser;
    Walk({
        {CALL(Library(it.library).Terminate() + (it.library = Library()).Initialize())},
        {CALL(it.library.GetEnvironmentVariable(it.text, "PATH")), kSame, kNoVariable},
        {CALL(Library().SetEnvironmentVariable("ZUKEL_X", it.file)), kSame, kNoVariable},
        {CALL(Library().GetCurrentUserName(it.text)), kSame, kNoUser},
        {CALL(it.library.GetUserDirectory(it.text)), kSame, kNoUser},
        {CALL(Library().GetLocale(), Library().GetHostName(it.text))},
        {CALL(Library::GetProgramPath(it.text))},
        {CALL(Library::FindProgram("sh", it.text)), kSame, kelStatusNotFound},
        {CALL(Library().GetEnvironmentNames(it.names))},
        {CALL(Status(!Library().GetTempDir().empty()))},
        {CALL(Status(Library::GetAbsoluteFileName("~/x")[0] != '~'))},
        {CALL(Status(Library::GetAbsoluteFileName("$PATH/x")[0] != '$'))},
        {CALL(Status(Library::GetAbsoluteFileName(kUnset) == kUnset))},
        {CALL(Status(Library::GetAbsoluteLibraryName(it.file) != ""))},
        {CALL(Status(kelFileInfo(&it.library, it.file).GetPermissions() != -1))},
        {CALL(Status(kelTime(it.time).GetSeconds() == 0))},
        {CALL(Status((it.time.MakeLocalTime(), it.time.GetMicroSeconds() >= 1000)))},
        {CALL(it.time.GetFormatTime(it.text, it.file))},
        {CALL(Status(kelSystem::GetFreeDiskSpace(it.file.c_str(), it.disk)))},
        {CALL(Status(kelSystem::UsedVirtualMemory() != ~0ULL))},
        {CALL(Status((kelSystem::GetMemoryDetails(it.memory), it.memory.totalPhysical > 0)))},
        {CALL(Status(kelAtomic().Increment() == 0))},
    });
}

/// Brings what was written to the file, if it was.
int Flushed(int written, kelFile& file) {
    return written == kOk ? file.Flush() : written;
}

/// Reads a line. After a failure the text is empty.
int Line(World& it, kelFile& file) {
    const int status = file.ReadLine(it.line, sizeof it.line);
    if (status != kOk) {
        EXPECT_EQ(std::exchange(it.line[0], 'x'), '\0');
    }
    return status;
}

/// Values of each type, to and from each of the two open files.
template <typename... Types>
void WalkValues(std::tuple<Types...> World::*) {
    for (kelFile World::*each : {&World::open, &World::buffered}) {
        (Walk({{CALL(Flushed((it.*each).Write(Types{7}), it.*each))},
               {CALL((it.*each).Read(std::get<Types>(it.values)))}}),
         ...);
    }
}

/// Finds out where a link and a name lead to, and forgets it.
int Forgotten(int status, World& it) {
    EXPECT_EQ(it.text == "untouched", status != kOk);
    it.text = "untouched";
    return status;
}
int ReadLink(World& it) {
    return Forgotten(kelFile::ReadSymbolicLink(it.missing, it.text), it);
}
int RealPath(World& it) {
    return Forgotten(kelFile::GetRealPath(it.file, it.text), it);
}

TEST(FaultWalk, Files) {
    constexpr int kKept = kReadWrite | kelFile::ModeNoCleanup;
    Walk({
        {CALL(it.empty.Open(it.missing, kRead | kWrite | kBuffered))},
        {CALL(it.empty.Open(it.file, kKept))},
        {CALL(Status(kelFile(it.file, kReadWrite).IsOpen()))},
        {CALL(kelFile().CreateTemporaryFile(it.missing + "XXXXXX"))},
        {CALL(kelFile().CreateTemporaryFile("XXXXXX")), kSame, kFailed,
         [](World& it) { fs::current_path(it.place.Path()); }},
        {CALL(Status((kelFile(it.open) = it.buffered).IsOpen()))},
        {CALL(Status(it.open.IsReadable() && it.open.IsWritable()))},
        {CALL(it.buffered.Flush())},
        {CALL((it.empty = kelFile(it.file, kReadWrite | kBuffered)).Write('0'))},
        {CALL(kelFile::Exists(&it.library, it.file)), kSame, kelStatusNotFound},
        {CALL(kelFile::Delete(&it.library, it.program))},
        {CALL(kelFile::SetPermissions(&it.library, it.file, 0x600))},
        {CALL(kelFile::ReadWhole(it.file, it.text) == kOk ? (it.text = "untouched", kOk)
                                                          : kFailed)},
        {CALL(kelFile::ReplaceWhole(it.missing, kNew)), After::Replaced},
        {CALL(kelFile::ReplaceWhole(it.file, kNew)), After::Replaced},
        {CALL(kelFile::ReplaceWhole(it.from, kNew)), After::Replaced, kFailed,
         [](World& it) { fs::create_symlink(fs::path(it.file).filename(), it.from); }},
    });
    Walk({
        {CALL(kelFile::CreateSymbolicLink(kNew, it.missing)), kSame, kFailed},
        {CALL(ReadLink(it)), kSame, kFailed,
         [](World& it) { fs::create_symlink(kNew, it.missing); }},
        {CALL(RealPath(it))},
        {CALL(it.mapped.Open(it.file, kelMappedFile::ReadOnly))},
        {CALL(it.mapped.Open(it.file, kelMappedFile::ReadWrite, 3, 5))},
        {CALL(it.mapped.Sync()), kSame, kFailed,
         [](World& it) { EXPECT_EQ(it.mapped.Open(it.file, kelMappedFile::ReadWrite), kOk); }},
    });
    const Row rename = {CALL(kelFile::RenameNew(it.file, it.missing)), After::AsBeforeOrRenamed};
    Walk({rename});
    {
        const Guard lacking = AtCall("renameat2", [] { return EINVAL; });
        Walk({rename});
    }
    for (kelFile World::*each : {&World::open, &World::buffered}) {
        Walk({{CALL((it.*each).Read(it.line, it.size))},
              {CALL(Line(it, it.*each))},
              {CALL(Flushed((it.*each).WriteLine("12345678"), it.*each))},
              {CALL(Flushed((it.*each).Write(it.line, it.size), it.*each))},
              {CALL((it.*each).SeekTo(2))},
              {CALL((it.*each).SeekToBegin())},
              {CALL((it.*each).SeekToEnd())},
              {CALL((it.*each).Sync())},
              {CALL(Status((it.*each).GetPosition(it.offset) == kOk && it.offset >= 0))},
              {CALL((it.*each).GetLength(it.offset))},
              {CALL((it.*each).SetLength(20))},
              {CALL((it.*each).ReadAt(2, it.line, it.size))},
              {CALL((it.*each).WriteAt(2, it.line, it.size))},
              {CALL((it.*each).Lock(kelFile::LockShared, -1))},
              {CALL((it.*each).Lock(kelFile::LockExclusive, 1))},
              {CALL((it.*each).Unlock()), kSame, kFailed,
               [each](World& it) { EXPECT_EQ((it.*each).Lock(kelFile::LockShared, 0), kOk); }},
              {CALL((it.*each).Close()), After::Ended}});
    }
    WalkValues(&World::values);
}

/// Lists a directory. What fails before the first entry has another status.
int Names(World& it) {
    zuStlVector<zuString> names = {"untouched"};
    const int status = Directory::GetFileNames(it.place.Path(), names);
    EXPECT_EQ(names.size(), status == kOk ? 3U : 1U);
    return status == kFailed ? kelStatusReadFailed : status;
}

/// Makes a temporary directory, which is removed again.
int MadeTemporary(World& it) {
    const int status = Directory::CreateTemporary(it.missing + "XXXXXX", it.text);
    EXPECT_EQ(it.text == "untouched", status != kOk);
    const Guard own = Counting(false);
    EXPECT_EQ(fs::remove(it.text), status == kOk);
    it.text = "untouched";
    return status;
}

TEST(FaultWalk, Directories) {
    const std::string here = fs::current_path();
    Walk({
        {CALL(it.closed.Open(it.place.Path()))},
        {CALL(it.listing.Close()), After::Ended},
        {CALL(Status(it.listing.ReadFirst(it.text) == kOk))},
        {CALL(it.listing.ReadNext(it.text)), kSame, kelStatusReadFailed},
        {CALL(Status((Directory(it.listing) = it.listing).GetName() == it.place.Path()))},
        {CALL(Status(it.listing.GetNumberOfFiles() == 3))},
        {CALL(Status(it.listing.GetFileNames().size() == 3))},
        {CALL(Status(Directory::GetFileNames(it.place.Path()).size() == 3))},
        {CALL(Names(it)), kSame, kelStatusReadFailed},
        {CALL(Directory::Create(&it.library, it.missing, 0x755, false))},
        {CALL(Directory::Create(it.missing, 0x755, true)), After::Made},
        {CALL(MadeTemporary(it))},
        {CALL(Directory::Delete(&it.library, it.folder))},
        {CALL(Directory::DeleteTree(it.folder))},
        {CALL(Directory::Sync(it.folder))},
        {CALL(Directory::SetCurrentDirectory(&it.library, it.place.Path()))},
        {CALL(Status(Directory::GetCurrentDirectory(&it.library) == here))},
        {CALL(Status(Directory::GetAbsolutePath(it.file) == it.file))},
        {CALL(Status(Directory::GetRelativePath("/", "/usr") == "./usr/"))},
    });
}

/// Starts the program with every stretch of the work.
int StartProgram(World& it) {
    const std::string out = it.beyond / "out", error = it.beyond / "err";
    kelProcess& process = it.process = kelProcess();
    const int status = process.Start(it.program, {it.file}, it.beyond.Path(), {out, error}, true);
    const Guard own = Counting(false);
    EXPECT_TRUE(Ends(process));
    EXPECT_EQ(fs::remove(it.beyond / "ran"), status == kOk);
    EXPECT_EQ(process.GetPid() != -1, status == kOk);
    EXPECT_EQ(process.GetLastError().empty(), status == kOk);
    // A file that cannot be opened is done without.
    EXPECT_TRUE(ReadWhole(out) == (status == kOk ? "out\n" : "") || fault.struck == "open");
    it.beyond.Write("out");  // as it was
    return status;
}

/// The same when the files take the numbers of the streams.
int StartOnFreeStreams(World& it) {
    const int in = dup(STDIN_FILENO), error = dup(STDERR_FILENO);
    const Guard back([=] {
        dup2(in, STDIN_FILENO), dup2(error, STDERR_FILENO);
        close(in), close(error);
    });
    close(STDIN_FILENO), close(STDERR_FILENO);
    return StartProgram(it);
}

/// Runs a program that gives back what it is given.
int RunCat(World& it) {
    kelProcessOptions options;
    options.command = "cat";
    zuString errors = "untouched";
    int code = -1;
    const int status = kelProcess::Run(options, it.file, it.text, errors, code, -1);
    const Guard own = Counting(false);
    EXPECT_EQ(it.text + errors, status == kOk ? it.file : "untoucheduntouched");
    EXPECT_EQ(code, status == kOk ? 0 : -1);
    EXPECT_TRUE(AllReaped()) << "as soon as the system lets it";
    return status;
}

/// The same in steps, with a changed environment.
int FeedCat(World& it) {
    using Options = kelProcessOptions;
    Options options;
    options.command = "cat";
    options.setVariables = {{"ZUKEL_CAT", it.file}};
    options.input.kind = options.output.kind = Options::StreamPipe;
    options.errors.kind = Options::StreamNothing;
    int code = -1;
    const Guard ended([&it] {
        const Guard own = Counting(false);
        it.process = kelProcess();
        EXPECT_TRUE(AllReaped()) << "as soon as the system lets it";
    });
    const int status = it.process.Start(options);
    unsigned long long size = sizeof it.line - 1;
    char room[sizeof it.line];
    const bool done = status == kOk && it.process.WriteInput("1234", 4) == kOk &&
                      it.process.CloseInput() == kOk && it.process.ReadOutput(room, size) == kOk &&
                      it.process.Wait(-1) == kOk && it.process.GetExitCode(code) == kOk;
    return done ? kOk : kFailed;
}

TEST(FaultWalk, SegmentsModulesAndProcesses) {
    const auto load = [](World& it) { EXPECT_EQ(it.module.LoadLibrary(kModule), kOk); };
    const auto files = [](World& it) { it.beyond.Write("out"), it.beyond.Write("err"); };
    const auto child = [](World& it) {
        EXPECT_EQ(it.process.Start("sleep", {"30"}, false), kOk);
        it.pid = it.process.GetPid();
    };
    Walk({
        {CALL((it.none = Memory()).Create(100, it.missing))},
        {CALL(it.none.Create(16U << 20U, it.missing))},
        {CALL(Memory().Attach(it.taken))},
        {CALL(it.owner.Destroy()), After::Ended},
        {CALL(it.attached.Detach()), After::Ended},
        {CALL(it.owner.Remove(it.taken)), After::Ended},
        {CALL((it.module = kelDynamicObject()).LoadLibrary(kModule))},
        {CALL(it.module.kelLoadLibraryEx(ZUKEL_TEST_MODULES, "first"))},
        {CALL(it.module.FindSymbol(&it.answer, "Answer")), kSame, kFailed, load},
        {CALL(it.module.UnloadLibrary()), kSame, kFailed, load},
        {CALL(StartProgram(it)), kSame, kFailed, files, false},
        {CALL(StartOnFreeStreams(it)), kSame, kFailed, files, false},
        {CALL(RunCat(it)), kSame, kFailed, [](World&) {}, false},
        {CALL(FeedCat(it)), kSame, kFailed, [](World&) {}, false},
        {CALL(it.process.Kill()), After::Ended, kFailed, child},
        {CALL(kelProcess::NativeKill(it.process.GetPid())), kSame, kFailed, child},
        {CALL(Status(kelProcess(it.process).IsRunning())), kSame, kFailed, child},
    });
    StepInThreads({CALL(it.process.Start("true", {"x"}, "/", true))});
    StepInThreads({CALL(Status(it.process.Start("no-such-program", false) == kFailed))});
    EXPECT_TRUE(AllReaped());
}

TEST(FaultWalk, Transfers) {
    constexpr auto kCopies = After::NoPartOfIt, kMoves = After::AsBeforeOrRenamed;
    // In memory, so that nothing waits for a disk; the move does not mind that it is one volume.
    setenv("TMPDIR", "/dev/shm", 1);
    const Guard back([] { unsetenv("TMPDIR"); });
    struct Way {
        Row row;
        std::size_t size;   ///< Of the source.
        const char* lacks;  ///< A call that the system refuses,
        int error;          ///< and how.
    };
    const Way ways[] = {
        {{CALL(kelFile::Copy(it.from, it.to, 0x644)), kCopies}, 3000, "", 0},
        {{CALL(kelFile::Copy(it.from, it.to, 0x644)), kCopies}, 70000, "copy_file_range", EXDEV},
        {{CALL(kelFile::Copy(&it.library, it.from, it.to, 0x1000)), kCopies}, 70000, "", 0},
        {{CALL(kelFile::NativeCopy(it.from, it.to, 0)), kCopies}, 9000, "", 0},
        {{CALL(Status(MoveAcrossVolumes(it.from.c_str(), it.to.c_str()) == 0)), kMoves},
         9000,
         "",
         0},
        {{CALL(Status(MoveAcrossVolumes(it.from.c_str(), it.to.c_str()) == 0)), kMoves},
         9000,
         "renameat2",
         EPERM},
        {{CALL(Status(MoveAcrossVolumes(it.from.c_str(), it.to.c_str()) == 0)), kMoves},
         9000,
         "linkat",
         EPERM},
        {{CALL(kelFile::Rename(&it.library, it.from, it.to))}, 9000, "", 0},
        {{CALL(kelFile::NativeRename(it.from, it.to))}, 9000, "", 0},
    };
    for (const Way& way : ways) {
        const Guard lacking = AtCall(way.lacks, [error = way.error] { return error; });
        for (const int kind : {0, 1, 2, 3}) {
            Row row = way.row;
            row.prepare = [moves = row.after == kMoves, size = way.size, exists = kind % 2 != 0,
                           special = kind > 1](World& it) {
                it.to = moves ? it.beyond / kTo : it.to;
                if (special && moves) {
                    fs::create_symlink("somewhere", it.from);
                } else {
                    it.place.Write(kFrom, std::string(size, 'c'));
                    fs::resize_file(it.from, special ? 100000 : size);  // with a hole
                }
                // Where the volume has such attributes.
                setxattr(it.from.c_str(), "user.zukel", "a", 1, 0);
                if (exists) {
                    std::ofstream(it.to) << "old";
                }
            };
            Walk({row}, {EIO, EPERM, ENOSYS, EINTR, EINVAL, ENOTSUP, EROFS});
        }
    }
}

}  // namespace
