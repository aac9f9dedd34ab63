#include <atomic>

#include "support/Testing.h"

using namespace zukel::test;

namespace {

constexpr int kThreads = 4;

/// Runs the body in several threads, which begin as much at once as they can.
/// @param body takes the number of its thread.
void InThreads(const std::function<void(int)>& body) {
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            for (--waiting; waiting > 0;) {
            }
            body(number);
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& each) { each.join(); });
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + '|';
    }
    return all;
}

std::string Status(std::initializer_list<int> statuses) {
    std::string all;
    for (const int status : statuses) {
        all += std::to_string(status) + ' ';
    }
    return all;
}

/// Answers of objects and static operations that each thread has for itself. No object lives
/// between two rounds, so the runtime starts and stops with them unless a thread holds it.
struct Threads : testing::Test {
    std::string Own(int number) const { return directory / std::to_string(number); }

    std::string StartsAndStops(int) const {
        const kelLibrary first;
        const kelLibrary second(first);
        kelFile().Close();
        return Status({kelFile::Exists(nullptr, directory.Path())});
    }
    std::string Files(int number) const {
        kelFile file(Own(number), kRead | kWrite), shared;
        shared = file;
        int value = -1;
        return Status(
            {shared.Write(number), shared.SeekToBegin(), file.Read(value), value - number,
             file.Close(),
             kelFile::Copy(Own(number), Own(number) + "c", kelFileInfo::PermissionDefault),
             kelFile::Rename(Own(number) + "c", Own(number) + "r")});
    }
    std::string Listings(int) const {
        kelDirectory listed(folder.Path());
        return Joined(kelDirectory::GetFileNames(folder.Path())) + Joined(listed.GetFileNames()) +
               kelDirectory::GetRelativePath(folder.Path(), folder / "b") +
               kelDirectory::GetAbsolutePath("x") + kelDirectory::GetCurrentDirectory() +
               std::to_string(kelFileInfo(folder / "a").GetSize());
    }
    std::string Times(int number) const {
        const std::string tail(static_cast<std::size_t>(number), '-');
        std::string text, local;
        kelTime time(1'000'000'000'000'000LL + number);
        const int utc = time.GetFormatTime(text, "%Y-%m-%d %H:%M:%S %A" + tail);
        time.MakeLocalTime();
        const int zoned = time.GetFormatTime(local, tail + "%c %z");
        const kelTime fields(number, 40, 46, 1, 9, 8, 101, 0, 0, 0, 0);
        return Status({utc, zoned, text.size() > tail.size(), local.size() > tail.size()}) +
               text.substr(0, text.size() - tail.size()) + local.substr(tail.size()) +
               std::to_string(kelTime(time).GetMicroSeconds() - fields.GetMicroSeconds());
    }
    std::string Surroundings(int) const {
        kelLibrary library;
        std::string path, user, home, host;
        const int status[] = {library.GetEnvironmentVariable(path, "PATH"),
                              library.GetCurrentUserName(user), library.GetUserDirectory(home),
                              library.GetHostName(host)};
        const char* const locale = library.GetLocale();
        return Status({status[0], status[1], status[2], status[3]}) +
               Joined({path, user, home, host, locale == nullptr ? "" : locale,
                       library.GetTempDir(), kelLibrary::GetAbsoluteFileName("~/$PATH")});
    }
    std::string Figures(int) const {
        kelMemoryInfo memory{};
        kelSystem::GetMemoryDetails(memory);
        zuDiskInfo disk{};
        return Status({kelSystem::GetFreeDiskSpace("/", disk), kelCPUInfo::GetNumProcessors()}) +
               std::to_string(memory.totalPhysical) + kelCPUInfo::GetCPUID();
    }
    std::string Segments(int number) const {
        kelSharedMemory owner, attached, again;
        const int status[] = {owner.Create(64, Own(number)), attached.Attach(Own(number)),
                              again.Attach(Own(number) + "no")};
        return Status({status[0], status[1], status[2], static_cast<int>(attached.GetSize()),
                       attached.Detach(), owner.Destroy()});
    }
    std::string Modules(int) const {
        kelDynamicObject module;
        long long (*answer)() = nullptr;
        const int loaded = module.LoadLibrary(ZUKEL_TEST_MODULES "/first.dll");
        const int found = module.FindSymbol(&answer, "Answer");
        const int value = found == kOk ? static_cast<int>(answer()) : 0;
        return Status({loaded, found, value, kelDynamicObject().LoadLibrary("no such"),
                       module.UnloadLibrary()});
    }
    std::string Processes(int number) const {
        kelProcess ends, runs, none, forgotten;
        const int status[] = {ends.Start(ZUKEL_TEST_CHILD, false),
                              runs.Start(ZUKEL_TEST_CHILD, {"sleep", "60"}, number % 2 == 0),
                              none.Start(directory / "no", false),
                              forgotten.Start(ZUKEL_TEST_CHILD, true)};
        const bool ran = runs.IsRunning() && kelProcess::IsRunning(runs.GetPid());
        return Status({status[0], status[1], status[2], status[3], ran, runs.Kill(), Ends(runs),
                       Ends(ends), none.GetPid()});
    }

    TemporaryDirectory directory, folder;
};

TEST_F(Threads, EachHasItsOwnObjects_AnswersAreThoseOfOneThread) {
    folder.Write("a", "four");
    fs::create_directory(folder / "b");
    const struct {
        const char* name;
        std::string (Threads::*work)(int) const;
        int rounds;
    } rows[] = {
        {"starts and stops of the runtime", &Threads::StartsAndStops, 500},
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
        SCOPED_TRACE(row.name);
        const std::string expected = (this->*row.work)(0);
        std::string wrong[kThreads];
        InThreads([&](int number) {
            for (int round = 0; round < row.rounds && wrong[number].empty(); ++round) {
                const std::string answer = (this->*row.work)(number);
                wrong[number] = answer == expected ? "" : answer;
            }
        });
        EXPECT_EQ(Joined({wrong, wrong + kThreads}), "||||") << "expected: " << expected;
    }
    EXPECT_TRUE(AllCollected());
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
            for (Objects& objects : sharing) {
                objects = first;
            }
        }
        InThreads([&](int number) {
            sharing[static_cast<std::size_t>(number)].counter.Increment();
            sharing[static_cast<std::size_t>(number)] = Objects();
        });
        EXPECT_EQ(counter.Increment(), kThreads * 1U);
        EXPECT_FALSE(fs::exists(name)) << "the last owner closes the file";
        EXPECT_EQ(kelSharedMemory().Attach(name + "s"), kFailed) << "and removes the name";
    }
}

}  // namespace
