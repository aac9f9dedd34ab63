// Every operation that may fail, with every call below it failing in turn: of APR, of the
// system and of `operator new`. A table of operations tells what each may fail with, and what it
// then leaves.

#include "faults/Walk.h"

#include <new>

using namespace zukel::test;

const std::string kModule = ZUKEL_TEST_MODULES "/first.dll";
const std::string kUnset = "$ZUKEL_NAME_OF_A_VARIABLE_THAT_IS_NOT_SET/" + std::string(20, 'x');

/// Makes the row's call, and compares what it leaves with what the row says.
///
/// @param after the names that the call leaves when it succeeds, taken from the first call.
/// @returns whether it succeeded.
static bool Step(const Row& row, Entries& after) {
    World it;
    row.prepare(it);
    auto before = it.Names();
    int status = row.failure;
    try {
        status = UnderFaults([&] { return Started([&] { return row.call(it); }); });
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(fault.source, FaultSource::Memory);
    }
    auto now = it.Names();
    EXPECT_EQ(Inheritable(), it.inheritable);
    if (status == kOk) {
        after = after.empty() ? now : after;
        if (fault.once && fault.struck.rfind(kRemoval, 0) != 0) {
            EXPECT_EQ(now, after) << "more than what has to stay";
        }
        if (now.count(kTo) != 0) {
            EXPECT_EQ(now[kTo], before[kFrom]);
        }
        return true;
    }
    const bool ended = row.after == After::Ended;
    const int denied = fault.error == kDenied ? kelStatusAccessDenied : row.failure;
    EXPECT_THAT(status, testing::AnyOf(row.failure, denied));
    if (row.after == After::NoPartOfIt) {
        if (fault.once) {
            EXPECT_THAT(now[kTo], testing::AnyOf("", before[kTo])) << "a part is left";
        }
        now[kTo] = before[kTo];
    } else if (row.after == After::AsBeforeOrRenamed && !fault.once) {
        for (const auto& [name, contents] : before) {
            EXPECT_THAT(now, testing::Contains(testing::Pair(testing::_, contents))) << name;
        }
        now = before;
    } else if (row.after == After::Replaced) {
        if (!fault.once) {  // a temporary file may stay
            now.erase(now.lower_bound(".zukel-"), now.lower_bound(".zukel."));
        }
        now = now == after ? before : now;
    } else if (row.after == After::Made) {
        now.erase(fs::path(it.missing).filename().string());
    } else if (ended) {  // a segment has no name then
        const std::string taken = fs::path(it.taken).filename().string();
        for (Entries* each : {&before, &now}) {  // nor what it is called then while it is held
            each->erase(each->lower_bound(taken), each->lower_bound(taken + "/"));
        }
    }
    EXPECT_EQ(now, before);
    EXPECT_EQ(it.text, "untouched");
    EXPECT_THAT(it.size, testing::AnyOf(4, 0));
    if (fault.once) {
        EXPECT_EQ(Started([&] { return row.call(it); }), ended ? row.failure : kOk)
            << "the same call again";
    }
    return false;
}

void zukel::test::Walk(const std::vector<Row>& rows, const std::vector<int>& refusals) {
    constexpr auto kApr = FaultSource::Apr, kMemory = FaultSource::Memory;
    constexpr auto kSystem = FaultSource::System;
    std::vector<FaultPlan> walks = {{kApr, 1, true}, {kApr},    {kMemory, 1, true},
                                    {kMemory},       {kSystem}, {kSystem, 1, false, kDenied}};
    for (const int error : refusals) {
        walks.push_back({kSystem, 1, true, error});
    }
    const Library started;  // what is not given back to APR shows only while it runs
    for (const Row& row : rows) {
        if (testing::Test::HasFailure()) {
            return;
        }
        Entries after;
        {
            const int inheritable = Inheritable();
            const Guard looks = AtCall("", [&] {
                if (row.plain) {
                    EXPECT_LE(Inheritable(), inheritable) << row.name << ": descriptors of a child";
                }
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
                if (!strikes) {
                    EXPECT_TRUE(succeeded) << "failed without a fault";
                }
                EXPECT_LT(plan.nth, 1000) << "no end";
                EXPECT_EQ(WhatIsHeld(), before) << "users of APR, its pools, blocks, descriptors";
                if (testing::Test::HasFailure()) {
                    FAIL() << row.name << ": call " << plan.nth << ", "
                           << (strikes ? fault.struck : "which is not made")
                           << (plan.once ? ", once with " : ", and the rest with ") << plan.error;
                }
            }
        }
        EXPECT_GE(struck, 1) << row.name << ": nothing was walked";
    }
}

TEST(FaultWalk, Surroundings) {
    constexpr int kNoVariable = kelStatusNoVariable, kNoUser = kelStatusNoUser;
    Walk({ROW(Library(it.library).Terminate()), ROW((it.library = Library()).Initialize()),
          ROW(it.library.GetEnvironmentVariable(it.text, "PATH")).Fails(kNoVariable),
          ROW(Library().SetEnvironmentVariable("ZUKEL_X", it.file)).Fails(kNoVariable),
          ROW(Library().GetCurrentUserName(it.text)).Fails(kNoUser),
          ROW(it.library.GetUserDirectory(it.text)).Fails(kNoUser),
          ROW(Library().GetLocale(), Library().GetHostName(it.text)),
          ROW(Library::GetProgramPath(it.text)),
          ROW(Library::FindProgram(kOnWindows ? "cmd" : "sh", it.text)).Fails(kelStatusNotFound),
          ROW(Library().GetEnvironmentNames(it.names)),
          ROW(Status(!Library().GetTempDir().empty())),
          ROW(Status(Library::GetAbsoluteFileName("~/x")[0] != '~'))});
    Walk({ROW(Status(Library::GetAbsoluteFileName("$PATH/x")[0] != '$')),
          ROW(Status(Library::GetAbsoluteFileName(kUnset) == kUnset)),
          ROW(Status(Library::GetAbsoluteLibraryName(it.file) != "")),
          ROW(Status(kelFileInfo(&it.library, it.file).GetPermissions() != -1)),
          ROW(Status(kelTime(it.time).GetSeconds() == 0)),
          ROW(Status((it.time.MakeLocalTime(), it.time.GetMicroSeconds() >= 1000)))});
    Walk({ROW(it.time.GetFormatTime(it.text, it.file)),
          ROW(Status(kelSystem::GetFreeDiskSpace(it.place.Path().c_str(), it.disk))),
          ROW(Status(kelSystem::UsedVirtualMemory() != ~0ULL)),
          ROW(Status((kelSystem::GetMemoryDetails(it.memory), it.memory.totalPhysical > 0))),
          ROW(Status(kelAtomic().Increment() == 0))});
}

/// Brings what was written to the file, if it was.
static int Flushed(int written, kelFile& file) {
    return written == kOk ? file.Flush() : written;
}

/// Reads a line. After a failure the text is empty.
static int Line(World& it, kelFile& file) {
    const int status = file.ReadLine(it.line, sizeof it.line);
    if (status != kOk) {
        EXPECT_EQ(std::exchange(it.line[0], 'x'), '\0');
    }
    return status;
}

TEST(FaultWalk, Files) {
    constexpr int kKept = kReadWrite | kelFile::ModeNoCleanup;
    Walk({ROW(it.empty.Open(it.missing, kRead | kWrite | kBuffered)),
          ROW(it.empty.Open(it.file, kKept)), ROW(Status(kelFile(it.file, kReadWrite).IsOpen())),
          ROW(kelFile().CreateTemporaryFile(it.missing + "XXXXXX")),
          ROW(kelFile().CreateTemporaryFile("XXXXXX")).Prepared([](World& it) {
              fs::current_path(it.place.Path());
          }),
          ROW(Status((kelFile(it.open) = it.buffered).IsOpen())),
          ROW(Status(it.open.IsReadable() && it.open.IsWritable())), ROW(it.buffered.Flush())});
    Walk({ROW((it.empty = kelFile(it.file, kReadWrite | kBuffered)).Write('0')),
          ROW(kelFile::Exists(&it.library, it.file)).Fails(kelStatusNotFound),
          ROW(kelFile::Delete(&it.library, it.program)),
          ROW(kelFile::SetPermissions(&it.library, it.file, 0x600)),
          ROW(kelFile::ReadWhole(it.file, it.text)),
          ROW(kelFile::ReplaceWhole(it.missing, kNew)).Leaves(After::Replaced),
          ROW(kelFile::ReplaceWhole(it.program, kNew)).Leaves(After::Replaced)});
    Walk({ROW(kelFile::GetRealPath(it.file, it.text)),
          ROW(it.mapped.Open(it.file, kelMappedFile::ReadOnly)),
          ROW(it.mapped.Open(it.file, kelMappedFile::ReadWrite, 3, 5)),
          ROW(it.mapped.Sync()).Prepared([](World& it) {
              EXPECT_EQ(it.mapped.Open(it.file, kelMappedFile::ReadWrite), kOk);
          })});
    const Row rename =
        ROW(kelFile::RenameNew(it.file, it.missing)).Leaves(After::AsBeforeOrRenamed);
    Walk({rename});
    {
        const Guard lacking = AtCall("renameat2", [] { return EINVAL; });
        Walk({rename});
    }
    for (kelFile World::*each : {&World::open, &World::buffered}) {
        Walk({ROW((it.*each).Read(it.line, it.size)), ROW(Line(it, it.*each)),
              ROW(Flushed((it.*each).WriteLine("12345678"), it.*each)),
              ROW(Flushed((it.*each).Write(it.line, it.size), it.*each)),
              ROW((it.*each).Read(it.number)), ROW(Flushed((it.*each).Write(7L), it.*each)),
              ROW((it.*each).Read(it.fraction)), ROW(Flushed((it.*each).Write(7.0), it.*each))});
        Walk({ROW((it.*each).SeekTo(2)), ROW((it.*each).SeekToBegin()), ROW((it.*each).SeekToEnd()),
              ROW((it.*each).Sync()),
              ROW(Status((it.*each).GetPosition(it.offset) == kOk && it.offset >= 0))});
        Walk({ROW((it.*each).GetLength(it.offset)), ROW((it.*each).SetLength(20)),
              ROW((it.*each).ReadAt(2, it.line, it.size)),
              ROW((it.*each).WriteAt(2, it.line, it.size)),
              ROW((it.*each).Lock(kelFile::LockShared, -1)),
              ROW((it.*each).Lock(kelFile::LockExclusive, 1)),
              ROW((it.*each).Unlock()).Prepared([each](World& it) {
                  EXPECT_EQ((it.*each).Lock(kelFile::LockShared, 0), kOk);
              }),
              ROW((it.*each).Close()).Leaves(After::Ended)});
    }
}

/// In the world's place; Windows has a segment there too.
constexpr unsigned kEntries = kOnWindows ? 4 : 3;

/// Lists a directory. What fails before the first entry has another status.
static int Names(World& it) {
    zuStlVector<zuString> names = {"untouched"};
    const int status = Directory::GetFileNames(it.place.Path(), names);
    EXPECT_EQ(names.size(), status == kOk ? kEntries : 1U);
    return status == kFailed ? kelStatusReadFailed : status;
}

/// Makes temporary directories, which are removed again.
static int MadeTemporary(World& it, int count) {
    int status = kOk;
    for (int made = 0; made < count && status == kOk; ++made) {
        status = Directory::CreateTemporary(it.missing + "XXXXXX", it.text);
        EXPECT_EQ(it.text == "untouched", status != kOk);
        const Guard own = Counting(false);
        EXPECT_EQ(fs::remove(it.text), status == kOk);
        it.text = "untouched";
    }
    return status;
}

TEST(FaultWalk, Directories) {
    const std::string here = Directory::GetCurrentDirectory();
    Walk({ROW(it.closed.Open(it.place.Path())), ROW(it.listing.Close()).Leaves(After::Ended),
          ROW(Status(it.listing.ReadFirst(it.text) == kOk)),
          ROW(it.listing.ReadNext(it.text)).Fails(kelStatusReadFailed),
          ROW(Status((Directory(it.listing) = it.listing).GetName() == it.place.Path())),
          ROW(Status(it.listing.GetNumberOfFiles() == kEntries)),
          ROW(Status(it.listing.GetFileNames().size() == kEntries)),
          ROW(Status(Directory::GetFileNames(it.place.Path()).size() == kEntries))});
    Walk({ROW(Names(it)).Fails(kelStatusReadFailed),
          ROW(Directory::Create(&it.library, it.missing, 0x755, false)),
          ROW(Directory::Create(it.missing, 0x755, true)).Leaves(After::Made),
          ROW(MadeTemporary(it, 1)), ROW(Directory::Delete(&it.library, it.folder)),
          ROW(Directory::DeleteTree(it.folder)), ROW(Directory::Sync(it.folder)),
          ROW(Directory::SetCurrentDirectory(&it.library, it.place.Path())),
          ROW(Status(Directory::GetCurrentDirectory(&it.library) == here)),
          ROW(Status(Directory::GetAbsolutePath(it.file) == it.file)),
          ROW(Status(Directory::GetRelativePath("/", "/usr") == "./usr/"))});
    StepInThreads(ROW(MadeTemporary(it, 100)));  // one in 22 comes to a cancellation point
}

/// A program that gives back what it is given, to both outputs.
static kelProcessOptions Both() {
    kelProcessOptions options;
    options.command = ZUKEL_TEST_CHILD;
    options.arguments = {"both"};
    return options;
}

/// Has ended children reaped, at the end of a scope that an exception may leave too: what is killed
/// ends as soon as the system lets it.
static Guard ReapsAll() {
    return Guard([] {
        const Guard own = Counting(false);
        EXPECT_TRUE(kOnWindows || AllReaped());
    });
}

static int RunBoth(World& it) {
    const Guard reaped = ReapsAll();
    zuString errors = "untouched";
    int code = -1;
    const int status = kelProcess::Run(Both(), it.file, it.text, errors, code, -1);
    const Guard own = Counting(false);
    EXPECT_EQ(it.text, status == kOk ? it.file : "untouched");
    EXPECT_EQ(errors, it.text);
    EXPECT_EQ(code, status == kOk ? 0 : -1);
    return status;
}

/// The same in steps, with a changed environment.
static int FeedBoth(World& it) {
    using Options = kelProcessOptions;
    Options options = Both();
    options.setVariables = {{"ZUKEL_BOTH", it.file}};
    options.input.kind = options.output.kind = Options::StreamPipe;
    options.errors.kind = Options::StreamNothing;
    int code = -1;
    const Guard reaped = ReapsAll(), ended([&it] {
        const Guard own = Counting(false);
        it.process = kelProcess();
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
    const auto child = [](World& it) {
        const auto start = [&] {
            return it.process.Start(ZUKEL_TEST_CHILD, {"sleep", "30"}, false);
        };
        EXPECT_EQ(Started(start), kOk) << it.process.GetLastError();
        it.pid = it.process.GetPid();
    };
    Walk({ROW((it.none = Memory()).Create(100, it.missing)).Leaves(After::Made),
          ROW(it.none.Create(16U << 20U, it.missing)).Leaves(After::Made),
          ROW(Memory().Attach(it.taken)), ROW(it.owner.Destroy()).Leaves(After::Ended),
          ROW(it.attached.Detach()).Leaves(After::Ended),
          ROW(it.owner.Remove(it.taken)).Leaves(After::Ended)});
    Walk({ROW((it.module = kelDynamicObject()).LoadLibrary(kModule)),
          ROW(it.module.kelLoadLibraryEx(ZUKEL_TEST_MODULES, "first")),
          ROW(it.module.FindSymbol(&it.answer, "Answer")).Prepared(load),
          ROW(it.module.UnloadLibrary()).Prepared(load)});
    Walk({ROW(RunBoth(it)).WithOwnWork(), ROW(FeedBoth(it)).WithOwnWork(),
          ROW(it.process.Kill()).Leaves(After::Ended).Prepared(child),
          ROW(kelProcess::NativeKill(it.process.GetPid())).Prepared(child),
          ROW(Status(kelProcess(it.process).IsRunning())).Prepared(child)});
    EXPECT_TRUE(AllReaped());
}
