// Path text, names, file facts and environment: the classes beside the bare runtime, the system's
// calls and the standard library.

#include <apr_env.h>
#include <apr_file_info.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "RuntimePool.h"
#include "kelDirectory.h"
#include "kelFileInfo.h"
#include "kelLibrary.h"

namespace {

namespace fs = std::filesystem;

const std::string kPath = "/srv/./www/site/../data/archive/2024/./11/../12/report.final.txt";
const std::string kFile = "/etc/passwd";
const std::string kFrom = "/usr/lib/gcc";
const std::string kTo = "/usr/share/doc";

void NormalizeZukel(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(kelDirectory::GetAbsolutePath(kPath));
    }
}
BENCHMARK(NormalizeZukel)->Name("NormalizePath/zukel");

void NormalizeStd(benchmark::State& state) {
    const fs::path path(kPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.lexically_normal());
    }
}
BENCHMARK(NormalizeStd)->Name("NormalizePath/std");

template <typename Operation>
void Grow(benchmark::State& state, Operation operation) {
    const std::string name(static_cast<std::size_t>(state.range(0)), '/');
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(name));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(Grow, NormalizeSeparators, kelDirectory::GetAbsolutePath)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->Complexity();
BENCHMARK_CAPTURE(Grow, ExpandSeparators, kelLibrary::GetAbsoluteFileName)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->Complexity();

void PartsZukel(benchmark::State& state) {
    const kelFileInfo info(kPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(info.GetPath());
        benchmark::DoNotOptimize(info.GetFileName());
        benchmark::DoNotOptimize(info.GetBaseName());
    }
}
BENCHMARK(PartsZukel)->Name("ThreeNameParts/zukel");

void PartsStd(benchmark::State& state) {
    const fs::path path(kPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.parent_path().string());
        benchmark::DoNotOptimize(path.filename().string());
        benchmark::DoNotOptimize(path.stem().string());
    }
}
BENCHMARK(PartsStd)->Name("ThreeNameParts/std");

/// All four parts of a file that exists: the extension asks the system, once.
void FourPartsZukel(benchmark::State& state) {
    const kelLibrary alive;
    const kelFileInfo info(kFile);
    for (auto _ : state) {
        benchmark::DoNotOptimize(info.GetPath());
        benchmark::DoNotOptimize(info.GetFileName());
        benchmark::DoNotOptimize(info.GetBaseName());
        benchmark::DoNotOptimize(info.GetFileExtension());
    }
}
BENCHMARK(FourPartsZukel)->Name("FourNameParts/zukel");

void FourPartsStd(benchmark::State& state) {
    const fs::path path(kFile);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.parent_path().string());
        benchmark::DoNotOptimize(path.filename().string());
        benchmark::DoNotOptimize(path.stem().string());
        benchmark::DoNotOptimize(path.extension().string());
    }
}
BENCHMARK(FourPartsStd)->Name("FourNameParts/std");

void FactsZukel(benchmark::State& state) {
    const kelLibrary alive;
    for (auto _ : state) {
        const kelFileInfo info(kFile);
        benchmark::DoNotOptimize(info.GetSize());
        benchmark::DoNotOptimize(info.GetType());
        benchmark::DoNotOptimize(info.GetLastModifiedTime());
    }
}
BENCHMARK(FactsZukel)->Name("FileFacts/zukel");

void FactsRuntime(benchmark::State& state) {
    const RuntimePool alive;
    for (auto _ : state) {
        const RuntimePool pool;
        apr_finfo_t info;
        benchmark::DoNotOptimize(
            apr_stat(&info, kFile.c_str(), APR_FINFO_MIN | APR_FINFO_LINK, pool.Get()));
    }
}
BENCHMARK(FactsRuntime)->Name("FileFacts/runtime");

void FactsSystem(benchmark::State& state) {
    for (auto _ : state) {
        struct stat info {};
        benchmark::DoNotOptimize(lstat(kFile.c_str(), &info));
    }
}
BENCHMARK(FactsSystem)->Name("FileFacts/system");

void FactsStd(benchmark::State& state) {
    for (auto _ : state) {
        const fs::path path(kFile);
        benchmark::DoNotOptimize(fs::file_size(path));
        benchmark::DoNotOptimize(fs::symlink_status(path));
        benchmark::DoNotOptimize(fs::last_write_time(path));
    }
}
BENCHMARK(FactsStd)->Name("FileFacts/std");

void WayZukel(benchmark::State& state) {
    const kelLibrary alive;
    for (auto _ : state) {
        benchmark::DoNotOptimize(kelDirectory::GetRelativePath(kFrom, kTo));
    }
}
BENCHMARK(WayZukel)->Name("RelativePath/zukel");

void WayStd(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(fs::relative(kTo, kFrom));
    }
}
BENCHMARK(WayStd)->Name("RelativePath/std");

void ReadVariableZukel(benchmark::State& state) {
    kelLibrary library;
    std::string value;
    for (auto _ : state) {
        benchmark::DoNotOptimize(library.GetEnvironmentVariable(value, "PATH"));
    }
}
BENCHMARK(ReadVariableZukel)->Name("ReadVariable/zukel");

void ReadVariableRuntime(benchmark::State& state) {
    const RuntimePool pool;
    for (auto _ : state) {
        char* value = nullptr;
        apr_env_get(&value, "PATH", pool.Get());
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(ReadVariableRuntime)->Name("ReadVariable/runtime");

void ReadVariableStd(benchmark::State& state) {
    for (auto _ : state) {
        const std::string value = std::getenv("PATH");
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(ReadVariableStd)->Name("ReadVariable/std");

void SetVariableZukel(benchmark::State& state) {
    kelLibrary library;
    for (auto _ : state) {
        benchmark::DoNotOptimize(library.SetEnvironmentVariable("ZUKEL_BENCHMARK", "value"));
    }
}
BENCHMARK(SetVariableZukel)->Name("SetVariable/zukel");

void SetVariableRuntime(benchmark::State& state) {
    const RuntimePool pool;
    for (auto _ : state) {
        benchmark::DoNotOptimize(apr_env_set("ZUKEL_BENCHMARK", "value", pool.Get()));
    }
}
BENCHMARK(SetVariableRuntime)->Name("SetVariable/runtime");

void SetVariableSystem(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(setenv("ZUKEL_BENCHMARK", "value", 1));
    }
}
BENCHMARK(SetVariableSystem)->Name("SetVariable/system");

}  // namespace
