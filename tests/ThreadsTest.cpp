// Every class in several threads. The thread sanitizer runs them too.

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr int kThreads = 4;

/// What each thread does with objects and names of its own. No object lives between two rounds, so
/// APR starts and stops with them unless a thread holds it.
struct Threads : InDirectory {
    std::string Own(int number) const { return directory / std::to_string(number); }

    void StartsAndStops(int) const {
        const kelLibrary first, second(first);
        EXPECT_EQ(kelFile().Close(), kFailed);
        EXPECT_EQ(kelFile::Exists(nullptr, directory.Path()), kOk);
    }
    void Files(int number) const {
        const std::string name = Own(number);
        kelFile file(name, kRead | kWrite), shared;
        shared = file;
        int value = -1;
        EXPECT_THAT(Statuses({shared.Write(number), shared.SeekToBegin(), file.Read(value),
                              file.Close(), kelFile::Copy(name, name + "c", 0x644),
                              kelFile::Rename(name + "c", name + "r")}),
                    Each(kOk));
        EXPECT_EQ(value, number);
    }
    void Listings(int) const {
        const testing::Matcher<zuStlVector<zuString>> names =
            testing::UnorderedElementsAre("a", "b");
        EXPECT_THAT(kelDirectory::GetFileNames(folder.Path()), names);
        EXPECT_THAT(kelDirectory(folder.Path()).GetFileNames(), names);
        EXPECT_EQ(kelDirectory::GetRelativePath(folder.Path(), folder / "b"), "./b/");
        EXPECT_EQ(kelDirectory::GetAbsolutePath("x"), "/x");
        EXPECT_EQ(kelDirectory::GetCurrentDirectory(), fs::canonical(".").u8string());
        EXPECT_EQ(kelFileInfo(folder / "a").GetSize(), 4);
    }
    void Times(int number) const {
        const std::string tail(static_cast<std::size_t>(number), '-');
        std::string text;
        kelTime time(1'000'000'000'000'000LL + number);
        const kelTime fields(number, 40, 46, 1, 9, 8, 101, 0, 0, 0, 0);
        EXPECT_EQ(time.GetFormatTime(text, "%Y-%m-%d %H:%M:%S %A" + tail), kOk);
        EXPECT_EQ(text, "2001-09-09 01:46:40 Sunday" + tail);
        EXPECT_EQ(time.GetMicroSeconds(), fields.GetMicroSeconds());
        time.MakeLocalTime();
        EXPECT_EQ(time.GetFormatTime(text, tail + "%c %z"), kOk);
        EXPECT_GT(text.size(), tail.size());
    }
    void Surroundings(int) const {
        kelLibrary library;
        std::string text;
        EXPECT_THAT(Statuses({library.GetCurrentUserName(text), library.GetHostName(text),
                              library.GetEnvironmentVariable(text, "PATH")}),
                    Each(kOk));
        EXPECT_EQ(text, std::getenv("PATH"));
        EXPECT_EQ(library.GetUserDirectory(text), kOk);
        EXPECT_EQ(kelLibrary::GetAbsoluteFileName("~/x"), text + "/x");
        EXPECT_STREQ(library.GetLocale(), kelLibrary().GetLocale());
        EXPECT_NE(library.GetTempDir(), "");
    }
    void Figures(int) const {
        kelMemoryInfo memory{};
        zuDiskInfo disk{};
        kelSystem::GetMemoryDetails(memory);
        EXPECT_EQ(memory.totalPhysical, kelSystem::TotalPhysicalMemory());
        EXPECT_TRUE(kelSystem::GetFreeDiskSpace("/", disk));
        EXPECT_GT(kelCPUInfo::GetNumProcessors(), 0);
        EXPECT_EQ(kelCPUInfo::GetCPUID(), kelCPUInfo::GetCPUID());
    }
    void Segments(int number) const {
        const std::string name = Own(number) + " segment";
        kelSharedMemory owner, attached, again;
        EXPECT_THAT(Statuses({owner.Create(64, name), attached.Attach(name)}), Each(kOk));
        EXPECT_EQ(again.Attach(name + "no"), kFailed);
        EXPECT_EQ(attached.GetSize(), 64U);
        EXPECT_THAT(Statuses({attached.Detach(), owner.Destroy()}), Each(kOk));
    }
    void Modules(int) const {
        kelDynamicObject module;
        long long (*answer)() = nullptr;
        EXPECT_EQ(module.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll"), kOk);
        ASSERT_EQ(module.FindSymbol(&answer, "Answer"), kOk);
        EXPECT_EQ(answer(), 1);
        EXPECT_EQ(kelDynamicObject().LoadLibrary("no such"), kFailed);
        EXPECT_EQ(module.UnloadLibrary(), kOk);
    }
    void Processes(int number) const {
        kelProcess ends, runs, none, forgotten;
        EXPECT_EQ(ends.Start(ZUKEL_TEST_CHILD, false), kOk);
        EXPECT_EQ(runs.Start(ZUKEL_TEST_CHILD, {"sleep", "60"}, number % 2 == 0), kOk);
        EXPECT_EQ(none.Start(directory / "no", false), kFailed);
        EXPECT_EQ(forgotten.Start(ZUKEL_TEST_CHILD, true), kOk);
        EXPECT_TRUE(kelProcess::IsRunning(runs.GetPid()));
        EXPECT_EQ(runs.Kill(), kOk);
        EXPECT_TRUE(Ends(runs));
        EXPECT_TRUE(Ends(ends));
        EXPECT_EQ(none.GetPid(), -1);
    }

    const TemporaryDirectory folder;
};

TEST_F(Threads, EachHasItsOwnObjects_AnswersAreThoseOfOneThread) {
    folder.Write("a", "four");
    fs::create_directory(folder / "b");
    const struct {
        const char* name;
        void (Threads::*work)(int) const;
        int rounds;
    } rows[] = {
        {"starts and stops of APR", &Threads::StartsAndStops, 500},
        {"files", &Threads::Files, 100},
        {"listings", &Threads::Listings, 100},
        {"times", &Threads::Times, 500},
        {"surroundings", &Threads::Surroundings, 200},
        {"figures", &Threads::Figures, 100},
        {"segments", &Threads::Segments, 100},
        {"modules", &Threads::Modules, 100},
        {"processes", &Threads::Processes, 5},
    };
    for (const auto& row : rows) {
        InThreads(kThreads, [&](int number) {
            for (int round = 0; round < row.rounds && !HasFailure(); ++round) {
                SCOPED_TRACE(row.name + (" of thread " + std::to_string(number)));
                (this->*row.work)(number);
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
