// Child processes and modules: the classes beside the bare runtime and the system's calls.

#include <apr_dso.h>
#include <apr_general.h>
#include <apr_pools.h>
#include <apr_thread_proc.h>
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "RuntimePool.h"
#include "kelDynamicObject.h"
#include "kelLibrary.h"
#include "kelProcess.h"
#include "kelStatus.h"

namespace {

constexpr const char* kProgram = "/bin/true";

void Check(bool succeeded) {
    if (!succeeded) {
        std::abort();
    }
}

/// Memory of the caller that the start of a program may have to pay for, all of it touched.
std::vector<char> Touched(const benchmark::State& state) {
    return std::vector<char>(static_cast<std::size_t>(state.range(0)) << 20, 'x');
}

/// Starts a program, waits until it has ended, and has it collected.
void RunZukel(benchmark::State& state) {
    const kelLibrary alive;
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        kelProcess process;
        Check(process.Start(kProgram, false) == kelStatusOk);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(process.GetPid()), &info, WEXITED | WNOWAIT);
        Check(!process.IsRunning());
    }
}

void RunRuntime(benchmark::State& state) {
    const RuntimePool alive;
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        const RuntimePool pool;
        apr_procattr_t* attributes = nullptr;
        apr_procattr_create(&attributes, pool.Get());
        apr_procattr_cmdtype_set(attributes, APR_PROGRAM_PATH);
        apr_procattr_io_set(attributes, APR_NO_PIPE, APR_FULL_BLOCK, APR_FULL_BLOCK);
        const char* const arguments[] = {kProgram, nullptr};
        apr_proc_t process{};
        Check(apr_proc_create(&process, kProgram, arguments, nullptr, attributes, pool.Get()) ==
              APR_SUCCESS);
        Check(apr_proc_wait(&process, nullptr, nullptr, APR_WAIT) == APR_CHILD_DONE);
    }
}

void RunSystem(benchmark::State& state) {
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        char program[] = "/bin/true";
        char* const arguments[] = {program, nullptr};
        pid_t pid = -1;
        Check(posix_spawnp(&pid, kProgram, nullptr, nullptr, arguments, environ) == 0);
        Check(waitpid(pid, nullptr, 0) == pid);
    }
}

/// The argument is the caller's memory in MiB.
BENCHMARK(RunZukel)->Name("StartUntilEnded/zukel")->Arg(0)->Arg(1024)->UseRealTime();
BENCHMARK(RunRuntime)->Name("StartUntilEnded/runtime")->Arg(0)->Arg(1024)->UseRealTime();
BENCHMARK(RunSystem)->Name("StartUntilEnded/system")->Arg(0)->Arg(1024)->UseRealTime();

void LoadZukel(benchmark::State& state) {
    const kelLibrary alive;
    for (auto _ : state) {
        kelDynamicObject module;
        long long (*answer)() = nullptr;
        Check(module.LoadLibrary(ZUKEL_BENCHMARK_MODULE) == kelStatusOk);
        Check(module.FindSymbol(&answer, "Answer") == kelStatusOk);
        benchmark::DoNotOptimize(answer());
        Check(module.UnloadLibrary() == kelStatusOk);
    }
}
BENCHMARK(LoadZukel)->Name("LoadFindUnload/zukel");

void LoadRuntime(benchmark::State& state) {
    const RuntimePool alive;
    for (auto _ : state) {
        const RuntimePool pool;
        apr_dso_handle_t* module = nullptr;
        apr_dso_handle_sym_t answer = nullptr;
        Check(apr_dso_load(&module, ZUKEL_BENCHMARK_MODULE, pool.Get()) == APR_SUCCESS);
        Check(apr_dso_sym(&answer, module, "Answer") == APR_SUCCESS);
        benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(answer)());
        Check(apr_dso_unload(module) == APR_SUCCESS);
    }
}
BENCHMARK(LoadRuntime)->Name("LoadFindUnload/runtime");

void LoadSystem(benchmark::State& state) {
    for (auto _ : state) {
        void* const module = dlopen(ZUKEL_BENCHMARK_MODULE, RTLD_NOW | RTLD_GLOBAL);
        Check(module != nullptr);
        void* const answer = dlsym(module, "Answer");
        Check(answer != nullptr);
        benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(answer)());
        Check(dlclose(module) == 0);
    }
}
BENCHMARK(LoadSystem)->Name("LoadFindUnload/system");

}  // namespace
