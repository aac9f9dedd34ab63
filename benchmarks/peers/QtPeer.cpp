// The jobs by Qt's Core.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QAtomicInt>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QSharedMemory>
#include <QStorageInfo>
#include <QString>
#include <string>
#include <vector>

#include "Peer.h"
#include "Work.h"

namespace {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

void List(benchmark::State& state) {
    const QDir directory(Text(Work::Get().Directory(state.range(0))));
    for (auto _ : state) {
        benchmark::DoNotOptimize(directory.entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted));
    }
}
BENCHMARK(List)->Name("ListNames/qt")->Arg(100)->Arg(10000)->Arg(100000);

bool Remove(const std::string& path) {
    return QDir().rmdir(Text(path));
}
BENCHMARK_CAPTURE(
    MakeAndRemove, , [](const auto& path) { return QDir().mkdir(Text(path)); }, Remove)
    -> Name("MakeAndRemove/qt");
BENCHMARK_CAPTURE(
    MakeFiveLevels, , [](const auto& path) { return QDir().mkpath(Text(path)); }, Remove)
    -> Name("MakeFiveLevels/qt");

void Open(benchmark::State& state) {
    const QString name = Text(Work::Get().Small());
    for (auto _ : state) {
        QFile file(name);
        Must(file.open(QIODevice::ReadOnly));
    }
}
BENCHMARK(Open)->Name("OpenClose/qt");

void Create(benchmark::State& state) {
    const QString name = Text(Work::Get().Target());
    for (auto _ : state) {
        QFile file(name);
        Must(file.open(QIODevice::WriteOnly));
        file.write("created, written and closed\n");
    }
}
BENCHMARK(Create)->Name("CreateWriteClose/qt");

void WriteValues(benchmark::State& state) {
    for (auto _ : state) {
        QFile file(Text(Work::Get().Target()));
        Must(file.open(QIODevice::WriteOnly));
        for (int value = 0; value < Work::kValues; ++value) {
            file.write(reinterpret_cast<const char*>(&value), sizeof value);
        }
    }
}
BENCHMARK(WriteValues)->Name("WriteMillionValues/qt")->Unit(benchmark::kMillisecond);

void ReadValues(benchmark::State& state) {
    for (auto _ : state) {
        QFile file(Text(Work::Get().Large()));
        Must(file.open(QIODevice::ReadOnly));
        int value = 0;
        for (int count = 0; count < Work::kValues; ++count) {
            file.read(reinterpret_cast<char*>(&value), sizeof value);
            benchmark::DoNotOptimize(value);
        }
    }
}
BENCHMARK(ReadValues)->Name("ReadMillionValues/qt")->Unit(benchmark::kMillisecond);

void ReadBlocks(benchmark::State& state) {
    std::vector<char> block(Work::kBlock);
    for (auto _ : state) {
        QFile file(Text(Work::Get().Large()));
        Must(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        while (file.read(block.data(), static_cast<qint64>(block.size())) > 0) {
        }
    }
}
BENCHMARK(ReadBlocks)->Name("Read64MiBInBlocks/qt")->Unit(benchmark::kMillisecond);

void ReadLines(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        QFile file(Text(Work::Get().Lines()));
        Must(file.open(QIODevice::ReadOnly));
        while (file.readLine(line, sizeof line) > 0) {
        }
    }
}
BENCHMARK(ReadLines)->Name("ReadMillionLines/qt")->Unit(benchmark::kMillisecond);

/// It never copies over a file that is there, so that one is removed before.
void Copy(benchmark::State& state, const std::string& (Work::*source)()) {
    RepeatCopy(state, source, [](const auto& from, const auto& to) {
        QFile::remove(Text(to));
        return QFile::copy(Text(from), Text(to));
    });
}
BENCHMARK_CAPTURE(Copy, , &Work::SixteenMiB)->Name("Copy16MiB/qt")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Copy, , &Work::FourThousand)->Name("CopySmall/qt");

BENCHMARK_CAPTURE(ThereAndBack, , [](const auto& from, const auto& to) {
    return QFile::rename(Text(from), Text(to));
}) -> Name("Rename/qt");
BENCHMARK_CAPTURE(Ask, , true, [](const auto& name) { return QFile::exists(Text(name)); })
    -> Name("Exists/qt");
BENCHMARK_CAPTURE(Ask, , false, [](const auto& name) { return QFile::exists(Text(name)); })
    -> Name("ExistsNot/qt");

void Normalize(benchmark::State& state) {
    const QString path = kLongPath;
    for (auto _ : state) {
        benchmark::DoNotOptimize(QDir::cleanPath(path));
    }
}
BENCHMARK(Normalize)->Name("NormalizePath/qt");

void Parts(benchmark::State& state) {
    const QFileInfo info(kLongPath);
    for (auto _ : state) {
        benchmark::DoNotOptimize(info.path());
        benchmark::DoNotOptimize(info.fileName());
        benchmark::DoNotOptimize(info.completeBaseName());
    }
}
BENCHMARK(Parts)->Name("ThreeNameParts/qt");

void Facts(benchmark::State& state) {
    const QString name = kKnownFile;
    for (auto _ : state) {
        const QFileInfo info(name);
        benchmark::DoNotOptimize(info.size());
        benchmark::DoNotOptimize(info.isSymLink());
        benchmark::DoNotOptimize(info.lastModified());
    }
}
BENCHMARK(Facts)->Name("FileFacts/qt");

void ReadVariable(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(qgetenv("PATH"));
    }
}
BENCHMARK(ReadVariable)->Name("ReadVariable/qt");

void SetVariable(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(qputenv("ZUKEL_BENCHMARK_QT", "value"));
    }
}
BENCHMARK(SetVariable)->Name("SetVariable/qt");

void Run(benchmark::State& state) {
    const std::vector<char> memory = Touched(state);
    for (auto _ : state) {
        QProcess process;
        process.start("/bin/true", {});
        Must(process.waitForFinished() && process.exitCode() == 0);
    }
}
BENCHMARK(Run)->Name("StartUntilEnded/qt")->Arg(0)->Arg(1024)->UseRealTime();

void Load(benchmark::State& state) {
    for (auto _ : state) {
        QLibrary module(ZUKEL_BENCHMARK_MODULE);
        module.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::ExportExternalSymbolsHint);
        const QFunctionPointer answer = module.resolve("Answer");
        Must(answer != nullptr);
        benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(answer)());
        Must(module.unload());
    }
}
BENCHMARK(Load)->Name("LoadFindUnload/qt");

void Segment(benchmark::State& state) {
    const QString name = Text("zukel-bench-qt-" + std::to_string(getpid()));
    for (auto _ : state) {
        QSharedMemory owner(name);
        QSharedMemory other(name);
        Must(owner.create(static_cast<int>(state.range(0))));
        Touch(owner.data(), static_cast<std::size_t>(owner.size()));
        Must(other.attach());
        benchmark::DoNotOptimize(*static_cast<char*>(other.data()));
    }
}
BENCHMARK(Segment)->Name("Segment/qt")->Arg(4000)->Arg(1000000);

void Format(benchmark::State& state) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QString pattern = "yyyy-MM-dd HH:mm:ss";
    for (auto _ : state) {
        benchmark::DoNotOptimize(now.toString(pattern));
    }
}
BENCHMARK(Format)->Name("Format/qt");

void Counter(benchmark::State& state) {
    static QAtomicInt counter;
    for (auto _ : state) {
        benchmark::DoNotOptimize(counter.fetchAndAddOrdered(1));
    }
}
BENCHMARK(Counter)->Name("Counter/qt")->Threads(1)->Threads(2)->UseRealTime();

void Disk(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(QStorageInfo("/tmp").bytesAvailable());
    }
}
BENCHMARK(Disk)->Name("Disk/qt");

}  // namespace
