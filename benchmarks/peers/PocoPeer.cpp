// The jobs by POCO's Foundation.

#include <Poco/AtomicCounter.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DirectoryIterator.h>
#include <Poco/Environment.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Path.h>
#include <Poco/Process.h>
#include <Poco/SharedLibrary.h>
#include <Poco/SharedMemory.h>
#include <Poco/Timestamp.h>
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Peer.h"
#include "Work.h"

namespace {

using Poco::File;

void List(benchmark::State& state) {
    const std::string& directory = Work::Get().Directory(state.range(0));
    for (auto _ : state) {
        std::vector<std::string> names;
        File(directory).list(names);
        benchmark::DoNotOptimize(names);
    }
}
BENCHMARK(List)->Name("ListNames/poco")->Arg(100)->Arg(10000)->Arg(100000);

bool Remove(const std::string& path) {
    File(path).remove();
    return true;
}
BENCHMARK_CAPTURE(
    MakeAndRemove, , [](const auto& path) { return File(path).createDirectory(); }, Remove)
    -> Name("MakeAndRemove/poco");
BENCHMARK_CAPTURE(
    MakeFiveLevels, ,
    [](const auto& path) {
        File(path).createDirectories();
        return true;
    },
    Remove) -> Name("MakeFiveLevels/poco");

void Open(benchmark::State& state) {
    const std::string name = Work::Get().Small();
    for (auto _ : state) {
        Poco::FileInputStream file(name);
        file.close();
    }
}
BENCHMARK(Open)->Name("OpenClose/poco");

void Create(benchmark::State& state) {
    for (auto _ : state) {
        Poco::FileOutputStream file(Work::Get().Target());
        file << "created, written and closed\n";
        file.close();
    }
}
BENCHMARK(Create)->Name("CreateWriteClose/poco");

void WriteValues(benchmark::State& state) {
    for (auto _ : state) {
        Poco::FileOutputStream file(Work::Get().Target());
        for (int value = 0; value < Work::kValues; ++value) {
            file.write(reinterpret_cast<const char*>(&value), sizeof value);
        }
    }
}
BENCHMARK(WriteValues)->Name("WriteMillionValues/poco")->Unit(benchmark::kMillisecond);

void ReadValues(benchmark::State& state) {
    for (auto _ : state) {
        Poco::FileInputStream file(Work::Get().Large());
        int value = 0;
        for (int count = 0; count < Work::kValues; ++count) {
            file.read(reinterpret_cast<char*>(&value), sizeof value);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValues)->Name("ReadMillionValues/poco")->Unit(benchmark::kMillisecond);

void ReadBlocks(benchmark::State& state) {
    std::vector<char> block(Work::kBlock);
    for (auto _ : state) {
        Poco::FileInputStream file(Work::Get().Large());
        while (file.read(block.data(), static_cast<std::streamsize>(block.size()))) {
        }
    }
}
BENCHMARK(ReadBlocks)->Name("Read64MiBInBlocks/poco")->Unit(benchmark::kMillisecond);

void ReadLines(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        Poco::FileInputStream file(Work::Get().Lines());
        while (file.getline(line, sizeof line)) {
        }
    }
}
BENCHMARK(ReadLines)->Name("ReadMillionLines/poco")->Unit(benchmark::kMillisecond);

void Copy(benchmark::State& state, const std::string& (Work::*source)()) {
    RepeatCopy(state, source, [](const auto& from, const auto& to) {
        File(from).copyTo(to);
        return true;
    });
}
BENCHMARK_CAPTURE(Copy, , &Work::SixteenMiB)->Name("Copy16MiB/poco")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, , &Work::FourThousand)->Name("CopySmall/poco");

BENCHMARK_CAPTURE(ThereAndBack, , [](const auto& from, const auto& to) {
    File(from).renameTo(to);
    return true;
}) -> Name("Rename/poco");
BENCHMARK_CAPTURE(Ask, , true, [](const auto& name) { return File(name).exists(); })
    -> Name("Exists/poco");
BENCHMARK_CAPTURE(Ask, , false, [](const auto& name) { return File(name).exists(); })
    -> Name("ExistsNot/poco");

void Normalize(benchmark::State& state) {
    const std::string path = kLongPath;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Poco::Path(path).toString());
    }
}
BENCHMARK(Normalize)->Name("NormalizePath/poco");

void Parts(benchmark::State& state) {
    const Poco::Path path(kLongPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.parent().toString());
        benchmark::DoNotOptimize(path.getFileName());
        benchmark::DoNotOptimize(path.getBaseName());
    }
}
BENCHMARK(Parts)->Name("ThreeNameParts/poco");

void Facts(benchmark::State& state) {
    for (auto _ : state) {
        const File file(kKnownFile);
        benchmark::DoNotOptimize(file.getSize());
        benchmark::DoNotOptimize(file.isFile());
        benchmark::DoNotOptimize(file.getLastModified());
    }
}
BENCHMARK(Facts)->Name("FileFacts/poco");

void ReadVariable(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Poco::Environment::get("PATH"));
    }
}
BENCHMARK(ReadVariable)->Name("ReadVariable/poco");

void SetVariable(benchmark::State& state) {
    for (auto _ : state) {
        Poco::Environment::set("ZUKEL_BENCHMARK_POCO", "value");
    }
}
BENCHMARK(SetVariable)->Name("SetVariable/poco");

void Run(benchmark::State& state) {
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        Must(Poco::Process::launch("/bin/true", {}).wait() == 0);
    }
}
BENCHMARK(Run)->Name("StartUntilEnded/poco")->Arg(0)->Arg(1024)->UseRealTime();

void Load(benchmark::State& state) {
    for (auto _ : state) {
        Poco::SharedLibrary module(ZUKEL_BENCHMARK_MODULE);
        benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(module.getSymbol("Answer"))());
        module.unload();
    }
}
BENCHMARK(Load)->Name("LoadFindUnload/poco");

void Segment(benchmark::State& state) {
    const std::string name = "zukel-bench-poco-" + std::to_string(getpid());
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        const Poco::SharedMemory owner(name, size, Poco::SharedMemory::AM_WRITE);
        Touch(owner.begin(), size);
        const Poco::SharedMemory other(name, size, Poco::SharedMemory::AM_WRITE, nullptr, false);
        benchmark::DoNotOptimize(*other.begin());
    }
}
BENCHMARK(Segment)->Name("Segment/poco")->Arg(4000)->Arg(1000000);

void Format(benchmark::State& state) {
    const Poco::Timestamp now;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Poco::DateTimeFormatter::format(now, "%Y-%m-%d %H:%M:%S"));
    }
}
BENCHMARK(Format)->Name("Format/poco");

void Counter(benchmark::State& state) {
    static Poco::AtomicCounter counter;
    for (auto _ : state) {
        benchmark::DoNotOptimize(++counter);
    }
}
BENCHMARK(Counter)->Name("Counter/poco")->Threads(1)->Threads(2)->UseRealTime();

void Disk(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(File("/tmp").usableSpace());
    }
}
BENCHMARK(Disk)->Name("Disk/poco");

}  // namespace
