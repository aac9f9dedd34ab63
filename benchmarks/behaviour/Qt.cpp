#include <QCoreApplication>
#include <QFile>
#include <QLibrary>
#include <QProcess>
#include <QSharedMemory>

#include "Library.h"

namespace {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

Answer Start(const Command& command, Child& child) {
    const auto process = std::make_shared<QProcess>();
    QStringList arguments;
    for (std::size_t word = 1; word < command.words.size(); ++word) {
        arguments += Text(command.words[word]);
    }
    process->setWorkingDirectory(Text(command.directory));
    process->start(Text(command.words[0]), arguments);
    const bool started = process->waitForStarted(3000);
    child = {process, static_cast<long>(process->processId()),
             [process] { return process->state() != QProcess::NotRunning; }};
    return {started, started ? "" : process->errorString().toStdString()};
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
        "default), `QProcess::state`, `QSharedMemory::create`, `attach`, and `attach` and `detach` "
        "to clear, `QLibrary::load`";
    library.copy = [](const std::string& from, const std::string& to) {
        QFile file(Text(from));
        const bool done = file.copy(Text(to));
        return Answer{done, done ? "" : file.errorString().toStdString()};
    };
    library.move = [](const std::string& from, const std::string& to) {
        QFile file(Text(from));
        const bool done = file.rename(Text(to));
        return Answer{done, done ? "" : file.errorString().toStdString()};
    };
    library.start = Start;
    library.turn = [] { QCoreApplication::processEvents(); };
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
        return Answer{done, done ? "" : module.errorString().toStdString()};
    };
    return library;
}
