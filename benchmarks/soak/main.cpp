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
// job runs alone, to tell by which.

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

#include "../Common.h"
#include "../Memory.h"
#include "Soak.h"

namespace {

constexpr int kRounds = 50;
constexpr int kWarmUp = 10;
constexpr int kThreads = 8;
constexpr long long kMoreInUse = 64 << 10;
constexpr long long kMoreResident = 2 << 20;

/// What must not grow in a process that lives long, read while nothing else goes on in it.
struct Figures {
    Memory memory;
    long long descriptors;  ///< Open ones.
    long long zombies;      ///< Ended children that nobody has collected.
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

Figures ReadFigures() {
    malloc_trim(0);
    const Memory memory = ReadMemory();
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    const auto descriptors = std::distance(begin(entries), end(entries));
    return {memory, descriptors - 1, CountZombies()};  // less the one that lists them
}

/// Waits until all children have ended, and lets the library collect them.
void SettleChildren() {
    for (int attempt = 0; attempt < 2000 && CountZombies() != 0; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        kelProcess::IsRunning(kelProcess::GetCurrentProcessPid());
    }
}

/// Threads that list the place until they are no longer needed.
class Listers {
public:
    explicit Listers(const Place& place) {
        for (int number = 0; number < kThreads; ++number) {
            threads_.emplace_back([this, &place] {
                while (!done_) {
                    place.List();
                    ++lists;
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                }
            });
        }
    }
    ~Listers() {
        done_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    Listers(const Listers&) = delete;
    Listers& operator=(const Listers&) = delete;
    static inline std::atomic<long long> lists{0};

private:
    std::atomic<bool> done_{false};
    std::vector<std::thread> threads_;
};

/// Round `round` of the work on `count` things: from where to where it goes.
template <typename Do>
void Part(int round, long long count, Do what) {
    for (long long number = count * round / kRounds; number < count * (round + 1) / kRounds;
         ++number) {
        what(number);
    }
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

void TellWhichGrow(const Place& place) {
    constexpr int kTimes = 2000;
    for (const Job& job : Jobs()) {
        long long before = 0;
        for (int pass = 0; pass < 2; ++pass) {  // the first takes what the job takes only once
            before = ReadFigures().memory.inUse;
            Part(0, kTimes * kRounds, [&](long long number) { job.run(place, number); });
            SettleChildren();
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
    const auto start = std::chrono::steady_clock::now();
    const bool shows = isatty(STDERR_FILENO) != 0;
    const Place place;
    const kelLibrary alive;
    Figures most{};
    std::printf("%9s %9s %10s %9s %10s %12s %11s %7s\n", "seconds", "children", "of a class",
                "listings", "in use KiB", "resident KiB", "descriptors", "zombies");
    for (int round = 0; round < kRounds; ++round) {
        const auto spent = std::chrono::steady_clock::now() - start;
        if (spent > limit) {
            std::printf("NOT DONE in %s seconds\n", arguments[3]);
            return 1;
        }
        {
            const Listers listers(place);
            Part(round, children, RunChild);
            for (const Job& job : Jobs()) {
                if (shows) {
                    std::fprintf(stderr, "\r%3d %%  %-30s", 100 * round / kRounds, job.name);
                }
                Part(round, objects, [&](long long number) { job.run(place, number); });
            }
        }
        SettleChildren();
        const Figures now = ReadFigures();
        const bool grew = round >= kWarmUp && Grew(now, most);
        if (round < kWarmUp) {
            Take(most, now);
        }
        if (grew || round % 5 == 4) {
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
            std::printf("%s%9.1f %9lld %10lld %9lld %10.1f %12lld %11lld %7lld\n",
                        shows ? "\r" : "", seconds.count(), children * (round + 1) / kRounds,
                        objects * (round + 1) / kRounds, Listers::lists.load(),
                        static_cast<double>(now.memory.inUse) / 1024, now.memory.resident / 1024,
                        now.descriptors, now.zombies);
            std::fflush(stdout);
        }
        if (grew) {
            std::printf(
                "GROWN beyond the first %d of %d rounds: in use %.1f KiB, resident %lld KiB, "
                "descriptors %lld, zombies 0\n",
                kWarmUp, kRounds, static_cast<double>(most.memory.inUse) / 1024,
                most.memory.resident / 1024, most.descriptors);
            TellWhichGrow(place);
            return 1;
        }
    }
    std::printf("soak: nothing has grown\n");
    return 0;
}
