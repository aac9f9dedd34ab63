#include <Poco/Environment.h>
#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/SharedLibrary.h>
#include <Poco/SharedMemory.h>
#include <Poco/StreamCopier.h>

#include "Library.h"

namespace {

struct Child {
    Poco::Pipe pipe;
    Poco::ProcessHandle handle;
};

class PocoLibrary : public Library {
    Description About() const override {
        const Poco::UInt32 version = Poco::Environment::libraryVersion();
        const auto part = [version](unsigned shift) {
            return std::to_string((version >> shift) & 0xFFU);
        };
        return {"POCO", part(24) + "." + part(16) + "." + part(8),
                "`File::copyTo`, `File::moveTo`, `Process::launch`, `Process::isRunning`, both "
                "outputs read one after the other by `PipeInputStream`, `ProcessHandle::wait`, "
                "`File::remove` with its directory's contents, `SharedMemory`, "
                "`SharedLibrary::load`"};
    }
    std::string Reason(const std::exception& refusal) const override {
        const auto* const known = dynamic_cast<const Poco::Exception*>(&refusal);
        return known != nullptr ? known->displayText() : refusal.what();
    }

    void Copy(Text from, Text to) override { Poco::File(from).copyTo(to); }
    void Move(Text from, Text to) override { Poco::File(from).moveTo(to); }
    void DeleteTree(Text path) override { Poco::File(path).remove(true); }
    void Load(Text file) override { Poco::SharedLibrary().load(file); }

    long Start(const Command& command) override {
        Poco::Pipe pipe;
        Poco::Pipe* const output = command.throughPipe ? &pipe : nullptr;
        child_.reset(new Child{
            pipe, command.directory.empty()
                      ? Poco::Process::launch(command.words[0], command.Arguments(), nullptr,
                                              output, nullptr)
                      : Poco::Process::launch(command.words[0], command.Arguments(),
                                              command.directory, nullptr, output, nullptr)});
        return child_->handle.id();
    }
    bool IsRunning() override { return Poco::Process::isRunning(child_->handle); }
    int Wait() override { return child_->handle.wait(); }
    void Forget() override { child_.reset(); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        Poco::Pipe out;
        Poco::Pipe err;
        const auto handle =
            Poco::Process::launch(command.words[0], command.Arguments(), nullptr, &out, &err);
        Poco::PipeInputStream first(out);
        Poco::PipeInputStream second(err);
        Poco::StreamCopier::copyToString(first, output);
        Poco::StreamCopier::copyToString(second, errors);
        handle.wait();
    }

    char* Create(Text name, std::size_t size) override { return Open(name, size, true); }
    char* Attach(Text name, std::size_t size) override { return Open(name, size, false); }
    char* Open(Text name, std::size_t size, bool server) {
        segment_ = {name, size, Poco::SharedMemory::AM_WRITE, nullptr, server};
        return segment_.begin();
    }
    void Release() override { segment_ = {}; }

    std::unique_ptr<Child> child_;
    Poco::SharedMemory segment_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<PocoLibrary>();
}
