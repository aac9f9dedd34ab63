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
    auto Read(char* to, qint64 size) { return file.read(to, size); }
    void Write(const char* from, qint64 size) { MUST(file.write(from, size) > 0); }
    bool Line(char* to, qint64 size) { return file.readLine(to, size) > 0; }
    QFile file;
};
using Reader = File<QIODevice::ReadOnly>;
using UnbufferedReader = File<QIODevice::ReadOnly | QIODevice::Unbuffered>;
using Writer = File<QIODevice::WriteOnly>;

void Start(QProcess& process) {
    process.start("/bin/true", {});
    MUST(process.waitForFinished() && process.exitCode() == 0);
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

const bool kAdded = [] {
    const Jobs jobs("qt");
    jobs.Streams<Reader, Writer, UnbufferedReader>();
    jobs.ReadUnbufferedLines<UnbufferedReader>();
    jobs.Copy([](auto& from, auto& to) {
        // It never copies over a file that exists, so that one is removed before.
        QFile::remove(Text(to));
        return QFile::copy(Text(from), Text(to));
    });
    jobs.Rename([](auto& from, auto& to) { return QFile::rename(Text(from), Text(to)); });
    jobs.ReplaceWhole([](auto& name, auto& contents) {
        QSaveFile file(Text(name));
        MUST(file.open(QIODevice::WriteOnly));
        file.write(contents.data(), static_cast<qint64>(contents.size()));
        return file.commit();
    });
    jobs.DeleteTree([](auto& path) { return QDir(Text(path)).removeRecursively(); });
    jobs.Exists([](auto& name) { return QFile::exists(Text(name)); });
    jobs.List(
        [](auto& directory) { return QDir(Text(directory)).entryList(kEntries, QDir::Unsorted); });
    jobs.Directories([](auto& path) { return QDir().mkdir(Text(path)); },
                     [](auto& path) { return QDir().mkpath(Text(path)); },
                     [](auto& path) { return QDir().rmdir(Text(path)); });
    jobs.With("FileFacts", Make<QString>(kKnownFile), [](const QString& name) {
        const QFileInfo info(name);
        Use(info.size(), info.isSymLink(), info.lastModified());
    });
    jobs.With("NormalizePath", Make<QString>(kLongPath), QDir::cleanPath);
    jobs.With("ThreeNameParts", Make<QFileInfo>(kLongPath), [](const QFileInfo& info) {
        Use(info.path(), info.fileName(), info.completeBaseName());
    });
    jobs.Repeat("ReadVariable", [] { return qgetenv("PATH"); });
    jobs.Repeat("SetVariable", [] { return qputenv("ZUKEL_BENCHMARK_QT", "value"); });
    jobs.Start([] {
        QProcess process;
        Start(process);
    });
    jobs.Run([] {  // it has pipes as it is, and reads them while it waits
        QProcess process;
        Start(process);
        MUST(process.readAllStandardOutput().isEmpty());
        MUST(process.readAllStandardError().isEmpty());
    });
    jobs.Repeat("MonotonicTime", [] {
        QElapsedTimer timer;
        timer.start();
        return timer.msecsSinceReference();
    });
    jobs.Repeat("LoadFindUnload", [] {
        QLibrary module(ZUKEL_BENCHMARK_MODULE);
        module.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::ExportExternalSymbolsHint);
        CallAnswer(module.resolve("Answer"));
        MUST(module.unload());
    });
    jobs.Segment(Share);
    jobs.With(
        "Format", [] { return QDateTime::currentDateTimeUtc(); },
        [pattern = QString("yyyy-MM-dd HH:mm:ss")](const QDateTime& time) {
            return time.toString(pattern);
        });
    jobs.Counter<QAtomicInt>([](auto& counter) { return counter.fetchAndAddOrdered(1); });
    jobs.Repeat("Disk", [] { return QStorageInfo("/tmp").bytesAvailable(); });
    jobs.Repeat("IdleObject", [] { const QFile file; });
    jobs.Idle<QAtomicInt>("kelAtomic");
    jobs.Idle<QDir>("kelDirectory");
    jobs.Idle<QLibrary>("kelDynamicObject");
    jobs.Idle<QFile>("kelFile");
    jobs.Idle<QFileInfo>("kelFileInfo", kKnownFile);
    jobs.Idle<QProcess>("kelProcess");
    jobs.Idle<QSharedMemory>("kelSharedMemory");
    jobs.Idle<QDateTime>("kelTime");
    jobs.Growth(
        "openings", [] { return std::make_unique<QFile>(kKnownFile); },
        [](const std::unique_ptr<QFile>& file) {
            char byte = 0;
            MUST(file->open(QIODevice::ReadOnly));
            MUST(file->getChar(&byte));
            file->close();
        });
    jobs.Growth(
        "listings", [] { return QDir(Text(Work::Get().Directory(100))); },
        [](QDir& directory) {
            directory.refresh();
            MUST(directory.entryList(kEntries, QDir::Unsorted).size() == 100);
        });
    return true;
}();

}  // namespace
