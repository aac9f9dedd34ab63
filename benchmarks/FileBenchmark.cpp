// Files: the class beside the bare runtime, the system's calls and the standard streams.

#include <apr_file_io.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "RuntimePool.h"
#include "Work.h"
#include "kelFile.h"
#include "kelLibrary.h"

namespace {

constexpr int kValues = Work::kValues;
constexpr std::size_t kBlock = Work::kBlock;
constexpr apr_int32_t kCreate = APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_TRUNCATE;

/// Keeps the runtime started, as a program with one object alive does.
struct Runtime {
    Runtime() { apr_initialize(); }
    ~Runtime() { apr_terminate(); }
};

/// A file of the bare runtime with a pool of its own.
class RuntimeFile {
public:
    RuntimeFile(const std::string& name, apr_int32_t flags) {
        if (apr_file_open(&file_, name.c_str(), flags, APR_FPROT_OS_DEFAULT, pool_.Get()) !=
            APR_SUCCESS) {
            std::abort();
        }
    }
    ~RuntimeFile() { apr_file_close(file_); }
    RuntimeFile(const RuntimeFile&) = delete;
    RuntimeFile& operator=(const RuntimeFile&) = delete;
    apr_file_t* Get() const { return file_; }

private:
    RuntimePool pool_;
    apr_file_t* file_ = nullptr;
};

void IdleZukel(benchmark::State& state) {
    const kelLibrary alive;
    for (auto _ : state) {
        kelFile file;
        benchmark::DoNotOptimize(file);
    }
}
BENCHMARK(IdleZukel)->Name("IdleObject/zukel");

void IdleRuntime(benchmark::State& state) {
    const Runtime alive;
    for (auto _ : state) {
        apr_initialize();
        apr_pool_t* pool = nullptr;
        apr_pool_create(&pool, nullptr);
        benchmark::DoNotOptimize(pool);
        apr_pool_destroy(pool);
        apr_terminate();
    }
}
BENCHMARK(IdleRuntime)->Name("IdleObject/runtime");

template <int kMode>
void OpenZukel(benchmark::State& state) {
    const kelLibrary alive;
    const std::string name =
        kMode == kelFile::ModeRead ? Work::Get().Small() : Work::Get().Target();
    for (auto _ : state) {
        kelFile file(name, kMode);
        if (kMode != kelFile::ModeRead) {
            file.WriteLine("created, written and closed\n");
        }
        file.Close();
    }
}
BENCHMARK_TEMPLATE(OpenZukel, kelFile::ModeRead)->Name("OpenClose/zukel");
BENCHMARK_TEMPLATE(OpenZukel, kCreate)->Name("CreateWriteClose/zukel");

template <apr_int32_t kMode>
void OpenRuntime(benchmark::State& state) {
    const Runtime alive;
    const std::string name = kMode == APR_FOPEN_READ ? Work::Get().Small() : Work::Get().Target();
    for (auto _ : state) {
        const RuntimeFile file(name, kMode);
        if (kMode != APR_FOPEN_READ) {
            apr_file_puts("created, written and closed\n", file.Get());
        }
    }
}
BENCHMARK_TEMPLATE(OpenRuntime, APR_FOPEN_READ)->Name("OpenClose/runtime");
BENCHMARK_TEMPLATE(OpenRuntime, kCreate)->Name("CreateWriteClose/runtime");

void OpenSystem(benchmark::State& state) {
    const std::string name = Work::Get().Small();
    for (auto _ : state) {
        close(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    }
}
BENCHMARK(OpenSystem)->Name("OpenClose/system");

void CreateSystem(benchmark::State& state) {
    const std::string name = Work::Get().Target();
    const std::string text = "created, written and closed\n";
    for (auto _ : state) {
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        benchmark::DoNotOptimize(write(file, text.data(), text.size()));
        close(file);
    }
}
BENCHMARK(CreateSystem)->Name("CreateWriteClose/system");

void WriteValuesZukel(benchmark::State& state) {
    for (auto _ : state) {
        kelFile file(Work::Get().Target(), kCreate | kelFile::ModeBuffered);
        for (int value = 0; value < kValues; ++value) {
            file.Write(value);
        }
    }
}
BENCHMARK(WriteValuesZukel)->Name("WriteMillionValues/zukel")->Unit(benchmark::kMillisecond);

void WriteValuesRuntime(benchmark::State& state) {
    for (auto _ : state) {
        const RuntimeFile file(Work::Get().Target(), kCreate | APR_FOPEN_BUFFERED);
        for (int value = 0; value < kValues; ++value) {
            apr_size_t size = sizeof value;
            apr_file_write(file.Get(), &value, &size);
        }
    }
}
BENCHMARK(WriteValuesRuntime)->Name("WriteMillionValues/runtime")->Unit(benchmark::kMillisecond);

void WriteValuesStd(benchmark::State& state) {
    for (auto _ : state) {
        std::ofstream file(Work::Get().Target(), std::ios::binary);
        for (int value = 0; value < kValues; ++value) {
            file.write(reinterpret_cast<const char*>(&value), sizeof value);
        }
    }
}
BENCHMARK(WriteValuesStd)->Name("WriteMillionValues/std")->Unit(benchmark::kMillisecond);

void ReadValuesZukel(benchmark::State& state) {
    for (auto _ : state) {
        kelFile file(Work::Get().Large(), kelFile::ModeRead | kelFile::ModeBuffered);
        int value = 0;
        for (int count = 0; count < kValues; ++count) {
            file.Read(value);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValuesZukel)->Name("ReadMillionValues/zukel")->Unit(benchmark::kMillisecond);

void ReadValuesRuntime(benchmark::State& state) {
    for (auto _ : state) {
        const RuntimeFile file(Work::Get().Large(), APR_FOPEN_READ | APR_FOPEN_BUFFERED);
        int value = 0;
        for (int count = 0; count < kValues; ++count) {
            apr_size_t size = sizeof value;
            apr_file_read(file.Get(), &value, &size);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValuesRuntime)->Name("ReadMillionValues/runtime")->Unit(benchmark::kMillisecond);

void ReadValuesStd(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream file(Work::Get().Large(), std::ios::binary);
        int value = 0;
        for (int count = 0; count < kValues; ++count) {
            file.read(reinterpret_cast<char*>(&value), sizeof value);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValuesStd)->Name("ReadMillionValues/std")->Unit(benchmark::kMillisecond);

void ReadBlocksZukel(benchmark::State& state) {
    std::vector<char> block(kBlock);
    for (auto _ : state) {
        kelFile file(Work::Get().Large(), kelFile::ModeRead);
        unsigned long long size = kBlock;
        while (file.Read(block.data(), size) == 0) {
            size = kBlock;
        }
    }
}
BENCHMARK(ReadBlocksZukel)->Name("Read64MiBInBlocks/zukel")->Unit(benchmark::kMillisecond);

void ReadBlocksRuntime(benchmark::State& state) {
    std::vector<char> block(kBlock);
    for (auto _ : state) {
        const RuntimeFile file(Work::Get().Large(), APR_FOPEN_READ);
        apr_size_t size = kBlock;
        while (apr_file_read(file.Get(), block.data(), &size) == APR_SUCCESS) {
            size = kBlock;
        }
    }
}
BENCHMARK(ReadBlocksRuntime)->Name("Read64MiBInBlocks/runtime")->Unit(benchmark::kMillisecond);

void ReadBlocksSystem(benchmark::State& state) {
    std::vector<char> block(kBlock);
    for (auto _ : state) {
        const int file = open(Work::Get().Large().c_str(), O_RDONLY | O_CLOEXEC);
        while (read(file, block.data(), kBlock) > 0) {
        }
        close(file);
    }
}
BENCHMARK(ReadBlocksSystem)->Name("Read64MiBInBlocks/system")->Unit(benchmark::kMillisecond);

template <bool kBuffered>
void ReadLinesZukel(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        kelFile file(kBuffered ? Work::Get().Lines() : Work::Get().FewLines(),
                     kelFile::ModeRead | (kBuffered ? kelFile::ModeBuffered : 0));
        while (file.ReadLine(line, sizeof line) == 0) {
        }
    }
}
BENCHMARK_TEMPLATE(ReadLinesZukel, true)
    ->Name("ReadMillionLines/zukel")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(ReadLinesZukel, false)
    ->Name("ReadUnbufferedLines/zukel")
    ->Unit(benchmark::kMillisecond);

template <bool kBuffered>
void ReadLinesRuntime(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        const RuntimeFile file(kBuffered ? Work::Get().Lines() : Work::Get().FewLines(),
                               APR_FOPEN_READ | (kBuffered ? APR_FOPEN_BUFFERED : 0));
        while (apr_file_gets(line, sizeof line, file.Get()) == APR_SUCCESS) {
        }
    }
}
BENCHMARK_TEMPLATE(ReadLinesRuntime, true)
    ->Name("ReadMillionLines/runtime")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(ReadLinesRuntime, false)
    ->Name("ReadUnbufferedLines/runtime")
    ->Unit(benchmark::kMillisecond);

void ReadLinesStd(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        std::FILE* const file = std::fopen(Work::Get().Lines().c_str(), "re");
        while (std::fgets(line, sizeof line, file) != nullptr) {
        }
        std::fclose(file);
    }
}
BENCHMARK(ReadLinesStd)->Name("ReadMillionLines/std")->Unit(benchmark::kMillisecond);

}  // namespace
