#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QLockFile>
#include <QProcess>
#include <QSaveFile>
#include <QSharedMemory>

#include "Library.h"

namespace {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

template <typename Object>
Answer Of(bool done, const Object& object) {
    return {done, done ? "" : object.errorString().toStdString()};
}

qint64 Size(const std::string& text) {
    return static_cast<qint64>(text.size());
}

QStringList Arguments(const std::vector<std::string>& words) {
    QStringList arguments;
    for (std::size_t word = 1; word < words.size(); ++word) {
        arguments += Text(words[word]);
    }
    return arguments;
}

Answer Start(const Command& command, Child& child) {
    const auto process = std::make_shared<QProcess>();
    process->setWorkingDirectory(Text(command.directory));
    process->start(Text(command.words[0]), Arguments(command.words));
    const bool started = process->waitForStarted(3000);
    child = {process, static_cast<long>(process->processId()),
             [process] { return process->state() != QProcess::NotRunning; },
             [process](int& code) {
                 const bool ended = process->waitForFinished(-1);
                 code = process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
                 return Of(ended, *process);
             }};
    return Of(started, *process);
}

template <typename Open>
Answer OpenSegment(const std::string& name, Segment& segment, Open open) {
    const auto memory = std::make_shared<QSharedMemory>(Text(name));
    if (!open(*memory)) {
        return {false, memory->errorString().toStdString()};
    }
    segment = {memory, static_cast<char*>(memory->data())};
    return {true, ""};
}

}  // namespace

Library ThisLibrary() {
    static int count = 1;
    static char program[] = "behaviour";
    static char* arguments[] = {program, nullptr};
    static const QCoreApplication application(count, arguments);
    Library library;
    library.name = "Qt 6";
    library.version = qVersion();
    library.calls =
        "`QFile::copy`, `QFile::rename`, `QProcess::start` and `waitForStarted` (a pipe is its "
        "default), `QProcess::state`, `QProcess::waitForFinished`, `QSaveFile`, `QLockFile` (a "
        "second one in the place of the other object), `QDir::removeRecursively`, "
        "`QSharedMemory::create`, `attach`, and `attach` and `detach` "
        "to clear, `QLibrary::load`";
    library.copy = [](const std::string& from, const std::string& to) {
        QFile file(Text(from));
        const bool done = file.copy(Text(to));
        return Of(done, file);
    };
    library.move = [](const std::string& from, const std::string& to) {
        QFile file(Text(from));
        const bool done = file.rename(Text(to));
        return Of(done, file);
    };
    library.start = Start;
    library.turn = [] { QCoreApplication::processEvents(); };
    library.collect = [](const std::vector<std::string>& words, std::string& output,
                         std::string& errors) {
        QProcess process;
        process.start(Text(words[0]), Arguments(words));
        const bool done = process.waitForFinished(-1);
        output = process.readAllStandardOutput().toStdString();
        errors = process.readAllStandardError().toStdString();
        return Of(done, process);
    };
    library.deleteTree = [](const std::string& path) {
        return Answer{QDir(Text(path)).removeRecursively(), ""};
    };
    library.replace = [](const std::string& name, const std::string& contents) {
        QSaveFile file(Text(name));
        const bool done = file.open(QIODevice::WriteOnly) &&
                          file.write(contents.data(), Size(contents)) == Size(contents) &&
                          file.commit();
        return Of(done, file);
    };
    library.lock = [](const std::string& name, std::shared_ptr<void>& object) {
        const auto file = std::make_shared<QLockFile>(Text(name + ".lock"));
        object = file;
        return Answer{file->tryLock(0), ""};
    };
    library.openAndClose = [](const std::string& name) {
        QLockFile(Text(name + ".lock")).tryLock(0);
    };
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return OpenSegment(name, segment, [size](QSharedMemory& memory) {
            return memory.create(static_cast<qsizetype>(size));
        });
    };
    library.attach = [](const std::string& name, std::size_t, Segment& segment) {
        return OpenSegment(name, segment, [](QSharedMemory& memory) { return memory.attach(); });
    };
    library.clear = [](const std::string& name) {
        QSharedMemory memory(Text(name));
        return Answer{memory.attach() && memory.detach(), ""};
    };
    library.load = [](const std::string& file) {
        QLibrary module(Text(file));
        const bool done = module.load();
        return Of(done, module);
    };
    return library;
}
