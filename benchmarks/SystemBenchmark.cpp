// System services: each beside the bare runtime, the system's calls and the standard way.

#include <apr_atomic.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <apr_shm.h>
#include <apr_time.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "kelAtomic.h"
#include "kelLibrary.h"
#include "kelSharedMemory.h"
#include "kelStatus.h"
#include "kelSystem.h"
#include "kelTime.h"

namespace {

void Must(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string SegmentName() {
    return "zukel-bench-" + std::to_string(getpid());
}

/// Uses the segment as its creator does: a byte in each page.
void Touch(void* address, std::size_t size) {
    for (std::size_t at = 0; at < size; at += 4096) {
        static_cast<char*>(address)[at] = 1;
    }
}

// A segment is created, filled, attached from a second hold, and destroyed.

void SegmentZukel(benchmark::State& state) {
    const kelLibrary alive;
    const std::string name = SegmentName();
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        kelSharedMemory owner;
        kelSharedMemory other;
        Must(owner.Create(size, name) == kelStatusOk);
        Touch(owner.GetBaseAddress(), size);
        Must(other.Attach(name) == kelStatusOk);
        benchmark::DoNotOptimize(*static_cast<char*>(other.GetBaseAddress()));
        Must(owner.Destroy() == kelStatusOk);
    }
}

/// A pool of its own with a use of the runtime, as each hold has.
struct Hold {
    Hold() {
        apr_initialize();
        apr_pool_create(&pool, nullptr);
    }
    ~Hold() {
        apr_pool_destroy(pool);
        apr_terminate();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    apr_pool_t* pool = nullptr;
    apr_shm_t* segment = nullptr;
};

void SegmentRuntime(benchmark::State& state) {
    const kelLibrary alive;
    const std::string name = SegmentName();
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        Hold owner;
        Hold other;
        Must(apr_shm_create(&owner.segment, size, name.c_str(), owner.pool) == APR_SUCCESS);
        Touch(apr_shm_baseaddr_get(owner.segment), size);
        Must(apr_shm_attach(&other.segment, name.c_str(), other.pool) == APR_SUCCESS);
        benchmark::DoNotOptimize(*static_cast<char*>(apr_shm_baseaddr_get(other.segment)));
        Must(apr_shm_destroy(owner.segment) == APR_SUCCESS);
        apr_shm_detach(other.segment);
    }
}

void SegmentSystem(benchmark::State& state) {
    const std::string name = "/" + SegmentName();
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        int file = shm_open(name.c_str(), O_CREAT | O_EXCL | O_RDWR, 0600);
        Must(file >= 0 && ftruncate(file, static_cast<off_t>(size)) == 0);
        void* const owner = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        Must(owner != MAP_FAILED);
        Touch(owner, size);
        struct stat facts {};
        file = shm_open(name.c_str(), O_RDWR, 0);
        Must(file >= 0 && fstat(file, &facts) == 0);
        const auto seen = static_cast<std::size_t>(facts.st_size);
        void* const other = mmap(nullptr, seen, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        Must(other != MAP_FAILED);
        benchmark::DoNotOptimize(*static_cast<char*>(other));
        shm_unlink(name.c_str());
        munmap(owner, size);
        munmap(other, seen);
    }
}

BENCHMARK(SegmentZukel)->Name("Segment/zukel")->Arg(4000)->Arg(1000000);
BENCHMARK(SegmentRuntime)->Name("Segment/runtime")->Arg(4000)->Arg(1000000);
BENCHMARK(SegmentSystem)->Name("Segment/system")->Arg(4000)->Arg(1000000);

constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S";

void FormatZukel(benchmark::State& state) {
    const kelTime time = kelTime::GetNow();
    const zuString pattern = kPattern;
    zuString text;
    for (auto _ : state) {
        Must(time.GetFormatTime(text, pattern) == kelStatusOk);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatZukel)->Name("Format/zukel");

void FormatRuntime(benchmark::State& state) {
    apr_time_exp_t exp{};
    apr_time_exp_gmt(&exp, apr_time_now());
    char buffer[256];
    std::string text;
    for (auto _ : state) {
        apr_size_t length = 0;
        apr_strftime(buffer, &length, sizeof buffer, kPattern, &exp);
        text.assign(buffer, length);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatRuntime)->Name("Format/runtime");

void FormatStd(benchmark::State& state) {
    const std::time_t now = std::time(nullptr);
    std::tm exp{};
    gmtime_r(&now, &exp);
    char buffer[256];
    std::string text;
    for (auto _ : state) {
        text.assign(buffer, std::strftime(buffer, sizeof buffer, kPattern, &exp));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatStd)->Name("Format/std");

void CounterZukel(benchmark::State& state) {
    static kelAtomic counter;
    for (auto _ : state) {
        benchmark::DoNotOptimize(counter.Increment());
    }
}

void CounterRuntime(benchmark::State& state) {
    static volatile apr_uint32_t counter = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(apr_atomic_inc32(&counter));
    }
}

void CounterStd(benchmark::State& state) {
    static std::atomic<unsigned> counter{0};
    for (auto _ : state) {
        benchmark::DoNotOptimize(counter.fetch_add(1));
    }
}

BENCHMARK(CounterZukel)->Name("Counter/zukel")->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(CounterRuntime)->Name("Counter/runtime")->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(CounterStd)->Name("Counter/std")->Threads(1)->Threads(2)->UseRealTime();

void MemoryZukel(benchmark::State& state) {
    kelMemoryInfo info;
    for (auto _ : state) {
        kelSystem::GetMemoryDetails(info);
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(MemoryZukel)->Name("Memory/zukel");

/// The files that tell all of it: the machine, the process, and the limits of its control groups.
std::vector<std::string> MemoryFiles() {
    std::vector<std::string> files = {"/proc/meminfo", "/proc/self/cgroup", "/proc/self/statm"};
    std::string line;
    for (std::ifstream groups("/proc/self/cgroup"); std::getline(groups, line);) {
        const bool first = line.find(":memory:") != std::string::npos;
        if (first || line.find("0::") == 0) {
            std::string group = line.substr(line.rfind(':') + 1);
            for (; !group.empty(); group.resize(group.rfind('/'))) {
                files.push_back(first ? "/sys/fs/cgroup/memory" + group + "/memory.limit_in_bytes"
                                      : "/sys/fs/cgroup" + group + "/memory.max");
            }
        }
    }
    return files;
}

/// Opens, reads and closes them, without looking at what they say.
void MemorySystem(benchmark::State& state) {
    const std::vector<std::string> files = MemoryFiles();
    for (auto _ : state) {
        for (const std::string& name : files) {
            char text[8192];
            const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
            while (read(file, text, sizeof text) > 0) {
            }
            close(file);
            benchmark::DoNotOptimize(text);
        }
    }
}
BENCHMARK(MemorySystem)->Name("Memory/system");

void DiskZukel(benchmark::State& state) {
    zuDiskInfo info;
    for (auto _ : state) {
        Must(kelSystem::GetFreeDiskSpace("/tmp", info));
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(DiskZukel)->Name("Disk/zukel");

void DiskSystem(benchmark::State& state) {
    for (auto _ : state) {
        struct statvfs facts {};
        Must(statvfs("/tmp", &facts) == 0);
        benchmark::DoNotOptimize(facts.f_bavail * facts.f_frsize);
    }
}
BENCHMARK(DiskSystem)->Name("Disk/system");

}  // namespace
