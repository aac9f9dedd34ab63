// The jobs by Qt's Core.

#include <QAtomicInt>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QSaveFile>
#include <QSharedMemory>
#include <QStorageInfo>
#include <QString>

#include "Jobs.h"

namespace {

constexpr QDir::Filters kEntries =
    QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

template <int kMode>
struct File {
    explicit File(const std::string& name) : file(Text(name)) {
        MUST(file.open(QIODevice::OpenMode::fromInt(kMode)));
    }
    std::size_t Read(char* to, std::size_t size) {
        return static_cast<std::size_t>(file.read(to, static_cast<qint64>(size)));
    }
    void Write(const char* from, std::size_t size) {
        MUST(file.write(from, static_cast<qint64>(size)) > 0);
    }
    bool Line(char* to, std::size_t size) {
        return file.readLine(to, static_cast<qint64>(size)) > 0;
    }
    QFile file;
};
using Reader = File<QIODevice::ReadOnly>;
using UnbufferedReader = File<QIODevice::ReadOnly | QIODevice::Unbuffered>;
using Writer = File<QIODevice::WriteOnly>;

bool Remove(const std::string& path) {
    return QDir().rmdir(Text(path));
}
void Facts(const QString& name) {
    const QFileInfo info(name);
    benchmark::DoNotOptimize(info.size());
    benchmark::DoNotOptimize(info.isSymLink());
    benchmark::DoNotOptimize(info.lastModified());
}
void ThreeParts(const QFileInfo& info) {
    benchmark::DoNotOptimize(info.path());
    benchmark::DoNotOptimize(info.fileName());
    benchmark::DoNotOptimize(info.completeBaseName());
}
void Start() {
    QProcess process;
    process.start("/bin/true", {});
    MUST(process.waitForFinished() && process.exitCode() == 0);
}
/// It has pipes as it is, and reads them while it waits.
void Run() {
    QProcess process;
    process.start("/bin/true", {});
    MUST(process.waitForFinished() && process.exitCode() == 0);
    MUST(process.readAllStandardOutput().isEmpty() && process.readAllStandardError().isEmpty());
}
void Load() {
    QLibrary module(ZUKEL_BENCHMARK_MODULE);
    module.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::ExportExternalSymbolsHint);
    const QFunctionPointer answer = module.resolve("Answer");
    MUST(answer != nullptr);
    benchmark::DoNotOptimize(reinterpret_cast<long long (*)()>(answer)());
    MUST(module.unload());
}
void Share(const std::string& name, std::size_t size, bool attach) {
    QSharedMemory owner(Text(name));
    QSharedMemory other(Text(name));
    MUST(owner.create(static_cast<qsizetype>(size)));
    Touch(owner.data(), size);
    if (attach) {
        MUST(other.attach());
        benchmark::DoNotOptimize(*static_cast<char*>(other.data()));
    }
}

const Jobs kJobs =
    Jobs("qt")
        .Streams<Reader, Writer, UnbufferedReader>()
        .ReadUnbufferedLines<UnbufferedReader>()
        .Copy([](const auto& from, const auto& to) {
            // It never copies over a file that exists, so that one is removed before.
            QFile::remove(Text(to));
            return QFile::copy(Text(from), Text(to));
        })
        .Rename(
            [](const auto& from, const auto& to) { return QFile::rename(Text(from), Text(to)); })
        .ReplaceWhole([](const auto& name, const auto& contents) {
            QSaveFile file(Text(name));
            MUST(file.open(QIODevice::WriteOnly));
            file.write(contents.data(), static_cast<qint64>(contents.size()));
            return file.commit();
        })
        .DeleteTree([](const auto& path) { return QDir(Text(path)).removeRecursively(); })
        .Exists([](const auto& name) { return QFile::exists(Text(name)); })
        .List([](const auto& directory) {
            return QDir(Text(directory)).entryList(kEntries, QDir::Unsorted);
        })
        .MakeAndRemove([](const auto& path) { return QDir().mkdir(Text(path)); }, Remove)
        .MakeFiveLevels([](const auto& path) { return QDir().mkpath(Text(path)); }, Remove)
        .With(
            "FileFacts", [] { return QString(kKnownFile); }, Facts)
        .With(
            "NormalizePath", [] { return QString(kLongPath); }, QDir::cleanPath)
        .With(
            "ThreeNameParts", [] { return QFileInfo(kLongPath); }, ThreeParts)
        .Repeat("ReadVariable", [] { return qgetenv("PATH"); })
        .Repeat("SetVariable", [] { return qputenv("ZUKEL_BENCHMARK_QT", "value"); })
        .Start(Start)
        .Run(Run)
        .Repeat("MonotonicTime",
                [] {
                    QElapsedTimer timer;
                    timer.start();
                    return timer.msecsSinceReference();
                })
        .Repeat("LoadFindUnload", Load)
        .Segment(Share)
        .With(
            "Format", [] { return QDateTime::currentDateTimeUtc(); },
            [pattern = QString("yyyy-MM-dd HH:mm:ss")](const QDateTime& time) {
                return time.toString(pattern);
            })
        .Counter<QAtomicInt>([](auto& counter) { return counter.fetchAndAddOrdered(1); })
        .Repeat("Disk", [] { return QStorageInfo("/tmp").bytesAvailable(); })
        .Repeat("IdleObject", [] { const QFile file; })
        .Idle<QAtomicInt>("kelAtomic")
        .Idle<QDir>("kelDirectory")
        .Idle<QLibrary>("kelDynamicObject")
        .Idle<QFile>("kelFile")
        .Idle<QFileInfo>("kelFileInfo", kKnownFile)
        .Idle<QProcess>("kelProcess")
        .Idle<QSharedMemory>("kelSharedMemory")
        .Idle<QDateTime>("kelTime")
        .Growth(
            "openings", [] { return std::make_unique<QFile>(kKnownFile); },
            [](const std::unique_ptr<QFile>& file) {
                char byte = 0;
                MUST(file->open(QIODevice::ReadOnly));
                MUST(file->getChar(&byte));
                file->close();
            })
        .Growth(
            "listings", [] { return QDir(Text(Work::Get().Directory(100))); },
            [](QDir& directory) {
                directory.refresh();
                MUST(directory.entryList(kEntries, QDir::Unsorted).size() == 100);
            });

}  // namespace
