// Directories: the class beside the bare runtime, the system's calls and the standard library.

#include <apr_file_info.h>
#include <apr_file_io.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "RuntimePool.h"
#include "Work.h"
#include "kelDirectory.h"
#include "kelLibrary.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

bool IsDots(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

Names ListZukel(const std::string& directory) {
    return kelDirectory::GetFileNames(directory);
}

Names ListRuntime(const std::string& directory) {
    const RuntimePool pool;
    Names names;
    apr_dir_t* open = nullptr;
    apr_dir_open(&open, directory.c_str(), pool.Get());
    apr_finfo_t info;
    while (apr_dir_read(&info, APR_FINFO_NAME, open) == APR_SUCCESS) {
        if (!IsDots(info.name)) {
            names.emplace_back(info.name);
        }
    }
    apr_dir_close(open);
    return names;
}

Names ListSystem(const std::string& directory) {
    Names names;
    DIR* const open = opendir(directory.c_str());
    while (const dirent* const entry = readdir(open)) {
        if (!IsDots(entry->d_name)) {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(open);
    return names;
}

Names ListStd(const std::string& directory) {
    Names names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

template <Names (*kList)(const std::string&)>
void List(benchmark::State& state) {
    const kelLibrary alive;
    const std::string& directory = Work::Get().Directory(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(kList(directory));
    }
    state.SetComplexityN(state.range(0));
}
#define LIST_JOB(function, name) \
    BENCHMARK_TEMPLATE(List, function)->Name(name)->Arg(100)->Arg(10000)->Arg(100000)
LIST_JOB(ListZukel, "ListNames/zukel");
LIST_JOB(ListRuntime, "ListNames/runtime");
LIST_JOB(ListSystem, "ListNames/system");
LIST_JOB(ListStd, "ListNames/std");

void CountZukel(benchmark::State& state) {
    kelDirectory directory(Work::Get().Directory(10000));
    for (auto _ : state) {
        benchmark::DoNotOptimize(directory.GetNumberOfFiles());
    }
}
BENCHMARK(CountZukel)->Name("CountNames/zukel");

/// Makes a directory and removes it again.
template <typename Make, typename Remove>
void MakeAndRemove(benchmark::State& state, Make make, Remove remove) {
    const kelLibrary alive;
    const std::string path = Work::Get().Path() + "/made";
    for (auto _ : state) {
        make(path);
        remove(path);
    }
    if (fs::exists(path)) {
        state.SkipWithError("the directory stays");
    }
}

/// Makes five levels at once and removes them one by one.
template <typename Make, typename Remove>
void MakeFiveLevels(benchmark::State& state, Make make, Remove remove) {
    const std::string top = Work::Get().Path() + "/made";
    Names levels = {top};
    for (const char* name : {"/a", "/b", "/c", "/d"}) {
        levels.push_back(levels.back() + name);
    }
    const kelLibrary alive;
    for (auto _ : state) {
        make(levels.back());
        for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
            remove(*level);
        }
    }
    if (fs::exists(top)) {
        state.SkipWithError("the directories stay");
    }
}

void MakeZukel(const std::string& path) {
    kelDirectory::Create(path, APR_FPROT_OS_DEFAULT, false);
}
void MakeAllZukel(const std::string& path) {
    kelDirectory::Create(path, APR_FPROT_OS_DEFAULT, true);
}
void RemoveZukel(const std::string& path) {
    kelDirectory::Delete(path);
}
void MakeRuntime(const std::string& path) {
    const RuntimePool pool;
    apr_dir_make(path.c_str(), APR_FPROT_OS_DEFAULT, pool.Get());
}
void MakeAllRuntime(const std::string& path) {
    const RuntimePool pool;
    apr_dir_make_recursive(path.c_str(), APR_FPROT_OS_DEFAULT, pool.Get());
}
void RemoveRuntime(const std::string& path) {
    const RuntimePool pool;
    apr_dir_remove(path.c_str(), pool.Get());
}
void MakeSystem(const std::string& path) {
    mkdir(path.c_str(), 0777);
}
void RemoveSystem(const std::string& path) {
    rmdir(path.c_str());
}
void MakeStd(const std::string& path) {
    fs::create_directory(path);
}
void MakeAllStd(const std::string& path) {
    fs::create_directories(path);
}
void RemoveStd(const std::string& path) {
    fs::remove(path);
}
BENCHMARK_CAPTURE(MakeAndRemove, , MakeZukel, RemoveZukel)->Name("MakeAndRemove/zukel");
BENCHMARK_CAPTURE(MakeAndRemove, , MakeRuntime, RemoveRuntime)->Name("MakeAndRemove/runtime");
BENCHMARK_CAPTURE(MakeAndRemove, , MakeSystem, RemoveSystem)->Name("MakeAndRemove/system");
BENCHMARK_CAPTURE(MakeAndRemove, , MakeStd, RemoveStd)->Name("MakeAndRemove/std");
BENCHMARK_CAPTURE(MakeFiveLevels, , MakeAllZukel, RemoveZukel)->Name("MakeFiveLevels/zukel");
BENCHMARK_CAPTURE(MakeFiveLevels, , MakeAllRuntime, RemoveRuntime)->Name("MakeFiveLevels/runtime");
BENCHMARK_CAPTURE(MakeFiveLevels, , MakeAllStd, RemoveStd)->Name("MakeFiveLevels/std");

}  // namespace
