// What a program that lives long does, long: children started, objects of each class made and
// dropped, one of each used over and over, and a directory listed in eight threads. A kelLibrary
// lives throughout: the last use of APR frees whatever was forgotten. Fails when memory,
// descriptors or zombies grow.
//
//   zukel_soak CHILDREN OBJECTS SECONDS
//
// so many children, objects of each class, and at most so many seconds. The work is cut into 50
// equal rounds; between them, with the listing threads ended, the figures are read. After the first
// ten they must have come to rest: from then on no descriptor and no zombie more is allowed, 64 KiB
// more in use and 2 MiB more resident, whatever the number of rounds. When they have grown, each
// job runs alone, to report by which.

#include <unistd.h>
#include <zukel.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Common.h"
#include "Memory.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

constexpr int kRounds = 50;
constexpr int kWarmUp = 10;
constexpr int kThreads = 8;
constexpr int kFiles = 40;
constexpr long long kMoreInUse = 64 << 10;
constexpr long long kMoreResident = 2 << 20;

/// Where the jobs work: a directory with files to list.
struct Place {
    Place() {
        MUST(mkdtemp(path.data()) != nullptr);
        file = path + "/0";
        for (int number = 0; number < kFiles; ++number) {
            std::ofstream(path + "/" + std::to_string(number)) << "x";
        }
    }
    ~Place() { fs::remove_all(path); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string path = fs::temp_directory_path() / "soak-XXXXXX";
    std::string file;  ///< One of them, of a byte.
};

// What is done with an object of each class: a new one each time, or one that lives as long as the
// program. `number` tells the times apart.

void Use(kelAtomic& counter, const Place&, long long) {
    counter.Increment();
    MUST(counter.Decrement() == 0);
}

/// It lists what it has held since the last time, or opens.
void Use(kelDirectory& directory, const Place& place, long long number) {
    zuString name;
    if (number % 2 == 0 || directory.ReadFirst(name) != kelStatusOk) {
        directory.Close();
        MUST(directory.Open(place.path) == kelStatusOk);
        MUST(directory.ReadFirst(name) == kelStatusOk);
    } else {
        MUST(directory.GetFileNames().size() >= kFiles);
        MUST(directory.GetNumberOfFiles() >= kFiles);
    }
}

/// Now and then a module that is not there: its reason is kept somewhere, too.
void Use(kelDynamicObject& module, const Place&, long long number) {
    long long (*answer)() = nullptr;
    module.UnloadLibrary();
    if (number % 10 == 0) {
        MUST(module.LoadLibrary("/missing.so") != kelStatusOk);
        MUST(!module.GetError().empty());
    }
    MUST(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk);
    MUST(module.FindSymbol(&answer, "Answer") == kelStatusOk);
}

void Use(kelFile& file, const Place& place, long long number) {
    const int buffered = number % 2 == 0 ? 0 : kelFile::ModeBuffered;
    char byte = 0;
    file.Close();
    MUST(file.Open("/missing/file", kelFile::ModeRead) == kelStatusNotFound);
    if (number % 10 == 0) {
        MUST(file.CreateTemporaryFile(place.path + "/t-XXXXXX") == kelStatusOk);
    } else {
        MUST(file.Open(place.file, kelFile::ModeRead | buffered) == kelStatusOk);
        MUST(file.Read(byte) == kelStatusOk);
    }
}

void Use(kelFileInfo& info, const Place& place, long long) {
    static const kelFileInfo missing("/missing");
    MUST(info.GetSize() == 1 && kelFileInfo(place.file).GetSize() == 1);
    MUST(missing.GetSize() <= 0);
}

void Use(kelLibrary& library, const Place&, long long number) {
    const char* const name = number % 2 == 0 ? "SOAK" : "PATH";
    zuString text;
    MUST(library.SetEnvironmentVariable("SOAK", "value") == kelStatusOk);
    MUST(library.GetEnvironmentVariable(text, name) == kelStatusOk);
    MUST(library.GetHostName(text) == kelStatusOk);
    MUST(!library.GetTempDir().empty());
    MUST(library.GetCurrentUserName(text) == kelStatusOk);
    MUST(library.GetUserDirectory(text) == kelStatusOk);
}

/// The start of a program that is not there makes no child, but all that goes before one.
void Use(kelProcess& process, const Place&, long long number) {
    const bool there = number % 100 == 0;
    MUST(process.Start(there ? "/bin/true" : "/missing", false) ==
         (there ? kelStatusOk : kelStatusFailed));
    MUST(there || !process.IsRunning());
}

/// It gives up what it holds, attaches to nothing, and holds a segment again, at times.
void Use(kelSharedMemory& owner, const Place&, long long number) {
    static const zuString name = "soak-" + std::to_string(getpid());
    kelSharedMemory other;
    owner = kelSharedMemory();
    MUST(owner.Attach(name) != kelStatusOk);
    MUST(owner.Create(4096, name) == kelStatusOk);
    MUST(other.Attach(name) == kelStatusOk);
    MUST(number % 2 == 0 || owner.Destroy() == kelStatusOk);
}

void Use(kelTime& time, const Place&, long long number) {
    zuString text;
    time = kelTime(number * 1000000);
    time.MakeLocalTime();
    MUST(time.GetFormatTime(text, "%c") == kelStatusOk);
    time.MakeCurrentTime();
    time.MakeLocalTime();
    MUST(time.GetFormatTime(text, "%c") == kelStatusOk);
}

template <typename Object>
Object New(const Place& place) {
    if constexpr (std::is_same_v<Object, kelFileInfo>) {
        return Object(place.file);
    } else if constexpr (std::is_same_v<Object, kelTime>) {
        return Object(0);
    } else {
        return Object();
    }
}

template <typename Object>
void Once(const Place& place, long long number) {
    Object object = New<Object>(place);
    Use(object, place, number);
}

template <typename Object>
void Again(const Place& place, long long number) {
    static Object object = New<Object>(place);
    Use(object, place, number);
}

void UseSmallOnes(const Place&, long long) {
    kelMutex mutex(nullptr);
    const kelBarrier barrier;
    const kelCondition condition(nullptr);
    MUST(kelMemoryInfo().totalPhysical + 1 == 0);
}

void UseStatics(const Place& place, long long number) {
    const zuString copy = place.path + "/copy";
    MUST(kelFile::Copy(place.file, copy, kelFileInfo::PermissionOfSource) == kelStatusOk);
    MUST(kelFile::Exists(copy));
    MUST(kelFile::Delete(copy) == kelStatusOk);
    const bool all = number % 2 == 0;
    MUST(kelDirectory::Create(copy, kelFileInfo::PermissionDefault, all) == kelStatusOk);
    MUST(kelDirectory::Delete(copy) == kelStatusOk);
    MUST(!kelDirectory::GetCurrentDirectory().empty());
    MUST(kelLibrary::GetAbsoluteFileName("~/a") != "~/a");
}

constexpr struct {
    const char* name;
    void (*run)(const Place& place, long long number);
} kJobs[] = {
    {"kelAtomic", Once<kelAtomic>},
    {"kelDirectory", Once<kelDirectory>},
    {"kelDynamicObject", Once<kelDynamicObject>},
    {"kelFile", Once<kelFile>},
    {"kelFileInfo", Once<kelFileInfo>},
    {"kelLibrary", Once<kelLibrary>},
    {"kelProcess", Once<kelProcess>},
    {"kelSharedMemory", Once<kelSharedMemory>},
    {"kelTime", Once<kelTime>},
    {"kelMutex and the like", UseSmallOnes},
    {"static calls", UseStatics},
    {"one kelAtomic", Again<kelAtomic>},
    {"one kelDirectory", Again<kelDirectory>},
    {"one kelDynamicObject", Again<kelDynamicObject>},
    {"one kelFile", Again<kelFile>},
    {"one kelFileInfo", Again<kelFileInfo>},
    {"one kelLibrary", Again<kelLibrary>},
    {"one kelProcess", Again<kelProcess>},
    {"one kelSharedMemory", Again<kelSharedMemory>},
    {"one kelTime", Again<kelTime>},
};

/// By its number a child is waited for, killed, or forgotten.
void RunChild(long long number) {
    kelProcess process;
    MUST(process.Start("/bin/true", number % 4 == 0) == kelStatusOk);
    while (number % 2 == 0 && process.IsRunning()) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    if (number % 5 == 1) {
        process.Kill();  // which returns whether the child was still there
    }
}

/// What must not grow in a process that lives long, read while nothing else goes on in it.
struct Figures {
    Memory memory;
    long long descriptors;  ///< Open ones.
    long long zombies;      ///< Ended children that nobody has reaped.
};

/// By the kernel's list of this thread's children, which are those of the whole process here: the
/// other threads start none.
long long CountZombies() {
    std::ifstream children("/proc/thread-self/children");
    MUST(children.good());
    long long count = 0;
    for (std::string child; children >> child;) {
        std::ifstream file("/proc/" + child + "/stat");
        std::string line;
        std::getline(file, line);
        count += line.find(") Z") != std::string::npos ? 1 : 0;
    }
    return count;
}

/// Waits before until all children have ended, and lets the library reap them.
Figures ReadFigures() {
    for (int attempt = 0; attempt < 2000 && CountZombies() != 0; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        kelProcess::IsRunning(kelProcess::GetCurrentProcessPid());
    }
    malloc_trim(0);
    const Memory memory = ReadMemory();
    const fs::directory_iterator entries("/proc/self/fd");
    const auto descriptors = std::distance(begin(entries), end(entries));
    return {memory, descriptors - 1, CountZombies()};  // less the one that lists them
}

void Take(Figures& most, const Figures& now) {
    most.memory.inUse = std::max(most.memory.inUse, now.memory.inUse);
    most.memory.resident = std::max(most.memory.resident, now.memory.resident);
    most.descriptors = std::max(most.descriptors, now.descriptors);
}

bool Grew(const Figures& now, const Figures& most) {
    return now.memory.inUse > most.memory.inUse + kMoreInUse ||
           now.memory.resident > most.memory.resident + kMoreResident ||
           now.descriptors > most.descriptors || now.zombies != 0;
}

/// Round `round` of the work on `count` things: from where to where it goes.
template <typename Do>
void Part(int round, long long count, Do what) {
    for (long long number = count * round / kRounds; number < count * (round + 1) / kRounds;
         ++number) {
        what(number);
    }
}

/// All of a round, beside threads that list the place; returns how many lists they made.
long long Round(const Place& place, int round, long long children, long long objects) {
    std::atomic<bool> done{false};
    std::atomic<long long> lists{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&] {
            for (; !done; ++lists) {
                MUST(kelDirectory::GetFileNames(place.path).size() >= kFiles);
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
    }
    Part(round, children, RunChild);
    for (const auto& job : kJobs) {
        Part(round, objects, [&](long long number) { job.run(place, number); });
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    return lists;
}

void ReportWhichGrow(const Place& place) {
    constexpr int kTimes = 2000;
    for (const auto& job : kJobs) {
        long long before = 0;
        for (int pass = 0; pass < 2; ++pass) {  // the first takes what the job takes only once
            before = ReadFigures().memory.inUse;
            Part(0, kTimes * kRounds, [&](long long number) { job.run(place, number); });
        }
        const double more = static_cast<double>(ReadFigures().memory.inUse - before) / kTimes;
        if (more >= 1) {
            std::printf("  %s: %.0f bytes each time\n", job.name, more);
        }
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::fprintf(stderr, "usage: zukel_soak CHILDREN OBJECTS SECONDS\n");
        return 2;
    }
    const long long children = std::atoll(arguments[1]);
    const long long objects = std::atoll(arguments[2]);
    const std::chrono::seconds limit(std::atoll(arguments[3]));
    const auto start = steady_clock::now();
    const Place place;
    const kelLibrary alive;
    Figures most{};
    long long lists = 0;
    std::printf("%9s %9s %10s %9s %10s %12s %11s %7s\n", "seconds", "children", "of a class",
                "listings", "in use KiB", "resident KiB", "descriptors", "zombies");
    for (int round = 0; round < kRounds; ++round) {
        if (steady_clock::now() - start > limit) {
            std::printf("NOT DONE in %s seconds\n", arguments[3]);
            return 1;
        }
        lists += Round(place, round, children, objects);
        const Figures now = ReadFigures();
        const bool grew = round >= kWarmUp && Grew(now, most);
        if (round < kWarmUp) {
            Take(most, now);
        }
        const std::chrono::duration<double> spent = steady_clock::now() - start;
        if (grew || round % 5 == 4) {
            std::printf("%9.1f %9lld %10lld %9lld %10lld %12lld %11lld %7lld\n", spent.count(),
                        children * (round + 1) / kRounds, objects * (round + 1) / kRounds, lists,
                        now.memory.inUse / 1024, now.memory.resident / 1024, now.descriptors,
                        now.zombies);
            std::fflush(stdout);
        }
        if (grew) {
            std::printf(
                "GROWN beyond the first %d of %d rounds: in use %lld KiB, resident %lld "
                "KiB, descriptors %lld, zombies 0\n",
                kWarmUp, kRounds, most.memory.inUse / 1024, most.memory.resident / 1024,
                most.descriptors);
            ReportWhichGrow(place);
            return 1;
        }
    }
    std::printf("soak: nothing has grown\n");
    return 0;
}
