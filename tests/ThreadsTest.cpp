// Every class in several threads. The thread sanitizer runs them too.

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr int kThreads = 4;

struct Threads : InDirectory {
    const TemporaryDirectory folder;
};

/// No object lives between two rounds, so APR starts and stops with them unless a thread holds it.
TEST_F(Threads, EachHasItsOwnObjects_AnswersAreThoseOfOneThread) {
    folder.Write("a", "four"), fs::create_directory(folder / "b");
    const struct {
        const char* what;
        int rounds;
        std::function<void(int number, const std::string& own)> work;
    } rows[] = {
        {"starts and stops of APR", 500,
         [](int, auto&) {
             const kelLibrary first, second(first);
             EXPECT_EQ(kelFile().Close(), kFailed);
             EXPECT_EQ(kelFile::Exists(nullptr, "."), kOk);
         }},
        {"files", 100,
         [](int number, auto& own) {
             kelFile file(own, kRead | kWrite), shared;
             shared = file;
             int value = -1;
             EXPECT_THAT(Statuses({shared.Write(number), shared.SeekToBegin(), file.Read(value),
                                   file.Close(), kelFile::Copy(own, own + "c", 0x644),
                                   kelFile::Rename(own + "c", own + "r")}),
                         Each(kOk));
             EXPECT_EQ(value, number);
         }},
        {"listings", 100,
         [this](int, auto&) {
             const auto names = kelDirectory::GetFileNames(folder.Path());
             EXPECT_THAT(names, testing::UnorderedElementsAre("a", "b"));
             EXPECT_EQ(kelDirectory::GetRelativePath(folder.Path(), folder / "b"), "./b/");
             EXPECT_EQ(kelDirectory::GetCurrentDirectory(), fs::canonical(".").u8string());
             EXPECT_EQ(kelFileInfo(folder / "a").GetSize(), 4);
         }},
        {"times", 500,
         [](int number, auto& own) {
             std::string text;
             kelTime time(1'000'000'000'000'000LL + number);
             EXPECT_EQ(time.GetFormatTime(text, "%Y-%m-%d %H:%M:%S %A" + own), kOk);
             EXPECT_EQ(text, "2001-09-09 01:46:40 Sunday" + own);
             time.MakeLocalTime();
             EXPECT_EQ(time.GetFormatTime(text, own + "%c %z"), kOk);
         }},
        {"surroundings", 200,
         [](int, auto&) {
             kelLibrary library;
             kelMemoryInfo memory;
             zuDiskInfo disk;
             std::string text;
             EXPECT_THAT(Statuses({library.GetCurrentUserName(text), library.GetHostName(text),
                                   library.GetEnvironmentVariable(text, "PATH")}),
                         Each(kOk));
             EXPECT_EQ(text, std::getenv("PATH"));
             EXPECT_EQ(library.GetUserDirectory(text), kOk);
             EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), text + "/x");
             kelSystem::GetMemoryDetails(memory);
             EXPECT_EQ(memory.totalPhysical, kelSystem::TotalPhysicalMemory());
             EXPECT_TRUE(kelSystem::GetFreeDiskSpace("/", disk));
             EXPECT_GT(kelCPUInfo::GetNumProcessors(), 0);
             EXPECT_EQ(kelCPUInfo::GetCPUID(), kelCPUInfo::GetCPUID());
             EXPECT_STREQ(library.GetLocale(), kelLibrary().GetLocale());
         }},
        {"segments", 100,
         [](int, auto& own) {
             kelSharedMemory owner, attached;
             const std::string name = own + " segment";  // which is a file on Windows
             EXPECT_THAT(Statuses({owner.Create(64, name), attached.Attach(name), attached.Detach(),
                                   owner.Destroy()}),
                         Each(kOk));
         }},
        {"modules", 100,
         [](int, auto&) {
             kelDynamicObject module;
             long long (*answer)() = nullptr;
             EXPECT_EQ(module.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"), kOk);
             ASSERT_EQ(module.FindSymbol(&answer, "Answer"), kOk);
             EXPECT_EQ(answer(), 1);
             EXPECT_EQ(kelDynamicObject().LoadLibrary("no such"), kFailed);
         }},
        {"processes", 5,
         [](int number, auto& own) {
             kelProcess ends, runs, none, forgotten;
             EXPECT_EQ(ends.Start(ZUKEL_TEST_CHILD, false), kOk);
             EXPECT_EQ(runs.Start(ZUKEL_TEST_CHILD, {"sleep", "60"}, number % 2 == 0), kOk);
             EXPECT_EQ(none.Start(own + "no", false), kFailed);
             EXPECT_EQ(forgotten.Start(ZUKEL_TEST_CHILD, true), kOk);
             EXPECT_TRUE(kelProcess::IsRunning(runs.GetPid()));
             EXPECT_EQ(runs.Kill(), kOk);
             EXPECT_TRUE(Ends(runs));
             EXPECT_TRUE(Ends(ends));
         }},
    };
    for (const auto& row : rows) {
        InThreads(kThreads, [&](int number) {
            for (int round = 0; round < row.rounds && !HasFailure(); ++round) {
                SCOPED_TRACE(row.what + (" of thread " + std::to_string(number)));
                row.work(number, directory / std::to_string(number));
            }
        });
    }
    EXPECT_TRUE(AllReaped());
}

/// One object of each class that shares its record by assignment.
struct Objects {
    kelFile file;
    kelDirectory directory;
    kelSharedMemory segment;
    kelDynamicObject module;
    kelProcess process;
    kelLibrary library;
    kelAtomic counter;
};

TEST_F(Threads, ObjectsThatShareRecords_AreDestroyedAndAssignedInAllOfThem) {
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        std::vector<Objects> sharing(kThreads);
        const std::string name = directory / std::to_string(round);
        kelAtomic counter;
        {
            Objects first;
            EXPECT_EQ(first.file.Open(name, kWrite | kelFile::ModeDeleteOnClose), kOk);
            EXPECT_EQ(first.directory.Open(directory.Path()), kOk);
            EXPECT_EQ(first.segment.Create(64, name + "s"), kOk);
            EXPECT_EQ(first.module.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"), kOk);
            first.counter = counter;
            std::fill(sharing.begin(), sharing.end(), first);
        }
        InThreads(kThreads, [&](int number) {
            sharing[static_cast<std::size_t>(number)].counter.Increment();
            sharing[static_cast<std::size_t>(number)] = Objects();
        });
        EXPECT_EQ(counter.Increment(), kThreads * 1U);
        EXPECT_FALSE(fs::exists(name)) << "the last owner closes the file";
        EXPECT_EQ(kelSharedMemory().Attach(name + "s"), kFailed) << "and removes the name";
    }
}

}  // namespace
