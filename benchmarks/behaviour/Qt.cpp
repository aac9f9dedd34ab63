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

QString Q(Text text) {
    return QString::fromStdString(text);
}

template <typename Object>
void CheckDone(bool done, const Object& object) {
    Check(done, object.errorString().toStdString());
}

void StartIn(QProcess& process, const Command& command) {
    QStringList arguments;
    for (std::size_t word = 1; word < command.words.size(); ++word) {
        arguments += Q(command.words[word]);
    }
    process.setWorkingDirectory(Q(command.directory));
    process.start(Q(command.words[0]), arguments);
}

class Qt6 : public Library {
    Description About() const override {
        return {"Qt 6", qVersion(),
                "`QFile::copy`, `QFile::rename`, `QProcess::start` and `waitForStarted` (a pipe is "
                "its default), `QProcess::state`, `QProcess::waitForFinished`, `QSaveFile`, "
                "`QLockFile` (a second one in the place of the other object), "
                "`QDir::removeRecursively`, `QSharedMemory::create`, `attach`, and `attach` and "
                "`detach` to clear, `QLibrary::load`"};
    }
    void Copy(Text from, Text to) override {
        QFile file(Q(from));
        const bool done = file.copy(Q(to));
        CheckDone(done, file);
    }
    void Move(Text from, Text to) override {
        QFile file(Q(from));
        const bool done = file.rename(Q(to));
        CheckDone(done, file);
    }
    void DeleteTree(Text path) override { Check(QDir(Q(path)).removeRecursively()); }
    void Replace(Text name, Text contents) override {
        QSaveFile file(Q(name));
        const auto size = static_cast<qint64>(contents.size());
        const bool done = file.open(QIODevice::WriteOnly) &&
                          file.write(contents.data(), size) == size && file.commit();
        CheckDone(done, file);
    }
    void Lock(Text name) override {
        locked_ = std::make_unique<QLockFile>(Q(name + ".lock"));
        Check(locked_->tryLock(0));
    }
    void OpenAndClose(Text name) override { QLockFile(Q(name + ".lock")).tryLock(0); }
    void Load(Text file) override {
        QLibrary module(Q(file));
        const bool done = module.load();
        CheckDone(done, module);
    }

    long Start(const Command& command) override {
        child_ = std::make_unique<QProcess>();
        StartIn(*child_, command);
        const bool done = child_->waitForStarted(3000);
        CheckDone(done, *child_);
        return child_->processId();
    }
    bool IsRunning() override { return child_->state() != QProcess::NotRunning; }
    int Wait() override {
        const bool done = child_->waitForFinished(-1);
        CheckDone(done, *child_);
        return child_->exitStatus() == QProcess::NormalExit ? child_->exitCode() : -1;
    }
    void Forget() override { child_.reset(); }
    void Turn() override { QCoreApplication::processEvents(); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        QProcess process;
        StartIn(process, command);
        const bool done = process.waitForFinished(-1);
        output = process.readAllStandardOutput().toStdString();
        errors = process.readAllStandardError().toStdString();
        CheckDone(done, process);
    }

    char* Create(Text name, std::size_t size) override {
        segment_ = std::make_unique<QSharedMemory>(Q(name));
        CheckDone(segment_->create(static_cast<qsizetype>(size)), *segment_);
        return static_cast<char*>(segment_->data());
    }
    char* Attach(Text name, std::size_t) override {
        segment_ = std::make_unique<QSharedMemory>(Q(name));
        CheckDone(segment_->attach(), *segment_);
        return static_cast<char*>(segment_->data());
    }
    void Release() override { segment_.reset(); }
    void Clear(Text name) override {
        QSharedMemory memory(Q(name));
        Check(memory.attach() && memory.detach());
    }

    int count_ = 1;
    char program_[10] = "behaviour";
    char* arguments_[2] = {program_, nullptr};
    QCoreApplication application_{count_, arguments_};
    std::unique_ptr<QLockFile> locked_;
    std::unique_ptr<QProcess> child_;
    std::unique_ptr<QSharedMemory> segment_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Qt6>();
}
