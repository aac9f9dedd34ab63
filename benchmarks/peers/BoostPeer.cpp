// The jobs by Boost: Filesystem, Process, DLL, Interprocess.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <boost/atomic.hpp>
#include <boost/dll/shared_library.hpp>
#include <boost/filesystem.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <boost/process.hpp>
#include <string>
#include <vector>

#include "Peer.h"
#include "Work.h"

namespace {

namespace fs = boost::filesystem;
namespace ipc = boost::interprocess;

void List(benchmark::State& state) {
    const std::string& directory = Work::Get().Directory(state.range(0));
    for (auto _ : state) {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
            names.push_back(entry.path().filename().string());
        }
        benchmark::DoNotOptimize(names);
    }
}
BENCHMARK(List)->Name("ListNames/boost")->Arg(100)->Arg(10000)->Arg(100000);

BENCHMARK_CAPTURE(
    MakeAndRemove, , [](const auto& path) { return fs::create_directory(path); },
    [](const auto& path) { return fs::remove(path); }) -> Name("MakeAndRemove/boost");
BENCHMARK_CAPTURE(
    MakeFiveLevels, , [](const auto& path) { return fs::create_directories(path); },
    [](const auto& path) { return fs::remove(path); }) -> Name("MakeFiveLevels/boost");

void Copy(benchmark::State& state, const std::string& (Work::*source)()) {
    RepeatCopy(state, source, [](const auto& from, const auto& to) {
        fs::copy_file(from, to, fs::copy_option::overwrite_if_exists);
        return true;
    });
}
BENCHMARK_CAPTURE(Copy, , &Work::SixteenMiB)
    ->Name("Copy16MiB/boost")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, , &Work::FourThousand)->Name("CopySmall/boost");

BENCHMARK_CAPTURE(ThereAndBack, , [](const auto& from, const auto& to) {
    fs::rename(from, to);
    return true;
}) -> Name("Rename/boost");
BENCHMARK_CAPTURE(Ask, , true, [](const auto& name) { return fs::exists(name); })
    -> Name("Exists/boost");
BENCHMARK_CAPTURE(Ask, , false, [](const auto& name) { return fs::exists(name); })
    -> Name("ExistsNot/boost");

void Normalize(benchmark::State& state) {
    const fs::path path(kLongPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.lexically_normal());
    }
}
BENCHMARK(Normalize)->Name("NormalizePath/boost");

void Parts(benchmark::State& state) {
    const fs::path path(kLongPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.parent_path().string());
        benchmark::DoNotOptimize(path.filename().string());
        benchmark::DoNotOptimize(path.stem().string());
    }
}
BENCHMARK(Parts)->Name("ThreeNameParts/boost");

void Facts(benchmark::State& state) {
    for (auto _ : state) {
        const fs::path path(kKnownFile);
        benchmark::DoNotOptimize(fs::file_size(path));
        benchmark::DoNotOptimize(fs::symlink_status(path));
        benchmark::DoNotOptimize(fs::last_write_time(path));
    }
}
BENCHMARK(Facts)->Name("FileFacts/boost");

void Way(benchmark::State& state) {
    const fs::path from(kFrom);
    const fs::path to(kTo);
    for (auto _ : state) {
        benchmark::DoNotOptimize(fs::relative(to, from));
    }
}
BENCHMARK(Way)->Name("RelativePath/boost");

void Run(benchmark::State& state) {
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        boost::process::child child("/bin/true");
        child.wait();
        Must(child.exit_code() == 0);
    }
}
BENCHMARK(Run)->Name("StartUntilEnded/boost")->Arg(0)->Arg(1024)->UseRealTime();

void Load(benchmark::State& state) {
    for (auto _ : state) {
        boost::dll::shared_library module(ZUKEL_BENCHMARK_MODULE,
                                          boost::dll::load_mode::rtld_global);
        benchmark::DoNotOptimize(module.get<long long()>("Answer")());
        module.unload();
    }
}
BENCHMARK(Load)->Name("LoadFindUnload/boost");

void Segment(benchmark::State& state) {
    const std::string name = "zukel-bench-boost-" + std::to_string(getpid());
    for (auto _ : state) {
        ipc::shared_memory_object made(ipc::create_only, name.c_str(), ipc::read_write);
        made.truncate(state.range(0));
        const ipc::mapped_region owner(made, ipc::read_write);
        Touch(owner.get_address(), owner.get_size());
        const ipc::shared_memory_object seen(ipc::open_only, name.c_str(), ipc::read_write);
        const ipc::mapped_region other(seen, ipc::read_write);
        benchmark::DoNotOptimize(*static_cast<char*>(other.get_address()));
        ipc::shared_memory_object::remove(name.c_str());
    }
}
BENCHMARK(Segment)->Name("Segment/boost")->Arg(4000)->Arg(1000000);

void Disk(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(fs::space("/tmp").available);
    }
}
BENCHMARK(Disk)->Name("Disk/boost");

}  // namespace
