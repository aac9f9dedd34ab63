// Operations on files by name: the class beside the bare runtime, the system's calls and the
// standard library.

#include <apr_file_info.h>
#include <apr_file_io.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "RuntimePool.h"
#include "Work.h"
#include "kelFile.h"
#include "kelLibrary.h"

namespace {

namespace fs = std::filesystem;

bool CopyZukel(const std::string& from, const std::string& to) {
    return kelFile::Copy(from, to, APR_FPROT_OS_DEFAULT) == 0;
}
bool NativeCopyZukel(const std::string& from, const std::string& to) {
    return kelFile::NativeCopy(from, to, 0) == 0;
}
bool CopyRuntime(const std::string& from, const std::string& to) {
    const RuntimePool pool;
    return apr_file_copy(from.c_str(), to.c_str(), APR_FPROT_OS_DEFAULT, pool.Get()) == 0;
}
bool CopySystem(const std::string& from, const std::string& to) {
    const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    ssize_t moved = 0;
    while ((moved = copy_file_range(in, nullptr, out, nullptr, std::size_t{1} << 30U, 0)) > 0) {
    }
    close(in);
    return close(out) == 0 && moved == 0;
}
bool CopyStd(const std::string& from, const std::string& to) {
    return fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

/// Copies over a target that exists, as it does from the second round on.
template <bool (*kCopy)(const std::string&, const std::string&), bool kLarge>
void Copy(benchmark::State& state) {
    const kelLibrary alive;
    const std::string from = kLarge ? Work::Get().SixteenMiB() : Work::Get().FourThousand();
    const std::string to = Work::Get().Target();
    for (auto _ : state) {
        if (!kCopy(from, to)) {
            state.SkipWithError("not copied");
        }
    }
    fs::remove(to);
}
#define COPY_JOBS(function, name)            \
    BENCHMARK_TEMPLATE(Copy, function, true) \
        ->Name("Copy16MiB/" name)            \
        ->Unit(benchmark::kMillisecond);     \
    BENCHMARK_TEMPLATE(Copy, function, false)->Name("CopySmall/" name)
COPY_JOBS(CopyZukel, "zukel");
COPY_JOBS(NativeCopyZukel, "zukelNative");
COPY_JOBS(CopyRuntime, "runtime");
COPY_JOBS(CopySystem, "system");
COPY_JOBS(CopyStd, "std");

/// There and back again.
template <typename Call>
void Rename(benchmark::State& state, Call rename) {
    const kelLibrary alive;
    const std::string one = Work::Get().FourThousand();
    const std::string other = Work::Get().Target();
    for (auto _ : state) {
        rename(one, other);
        rename(other, one);
    }
}
BENCHMARK_CAPTURE(Rename, , [](const auto& from, const auto& to) { kelFile::Rename(from, to); })
    -> Name("Rename/zukel");
BENCHMARK_CAPTURE(Rename, , [](const auto& from, const auto& to) {
    kelFile::NativeRename(from, to);
}) -> Name("Rename/zukelNative");
BENCHMARK_CAPTURE(Rename, , [](const auto& from, const auto& to) {
    const RuntimePool pool;
    apr_file_rename(from.c_str(), to.c_str(), pool.Get());
}) -> Name("Rename/runtime");
BENCHMARK_CAPTURE(Rename, , [](const auto& from, const auto& to) {
    std::rename(from.c_str(), to.c_str());
}) -> Name("Rename/system");
BENCHMARK_CAPTURE(Rename, , [](const auto& from, const auto& to) { fs::rename(from, to); })
    -> Name("Rename/std");

/// Asks for a file, with somebody keeping the runtime started or without.
template <typename Call>
void Exists(benchmark::State& state, bool present, bool alive, Call exists) {
    const std::unique_ptr<kelLibrary> library(alive ? new kelLibrary : nullptr);
    const std::string name = present ? Work::Get().FourThousand() : Work::Get().Missing();
    for (auto _ : state) {
        if (exists(name) != present) {
            state.SkipWithError("the wrong answer");
        }
    }
}
bool ExistsZukel(const std::string& name) {
    return kelFile::Exists(name);
}
bool ExistsRuntime(const std::string& name) {
    const RuntimePool pool;
    apr_finfo_t info;
    return apr_stat(&info, name.c_str(), APR_FINFO_SIZE, pool.Get()) == 0;
}
bool ExistsSystem(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0;
}
bool ExistsStd(const std::string& name) {
    return fs::exists(name);
}
#define EXISTS_JOBS(function, name)                                              \
    BENCHMARK_CAPTURE(Exists, , true, true, function)->Name("Exists/" name);     \
    BENCHMARK_CAPTURE(Exists, , false, true, function)->Name("ExistsNot/" name); \
    BENCHMARK_CAPTURE(Exists, , true, false, function)->Name("ExistsWithoutLibrary/" name)
EXISTS_JOBS(ExistsZukel, "zukel");
EXISTS_JOBS(ExistsRuntime, "runtime");
EXISTS_JOBS(ExistsSystem, "system");
EXISTS_JOBS(ExistsStd, "std");

}  // namespace
