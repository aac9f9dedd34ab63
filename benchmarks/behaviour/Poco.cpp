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

template <typename Call>
Answer Try(Call call) {
    try {
        call();
        return {true, ""};
    } catch (const Poco::Exception& exception) {
        return {false, exception.displayText()};
    }
}

struct Process {
    Poco::Pipe pipe;
    Poco::ProcessHandle handle;
};

Answer Start(const Command& command, Child& child) {
    return Try([&] {
        Poco::Pipe pipe;
        const Poco::Process::Args arguments(command.words.begin() + 1, command.words.end());
        Poco::Pipe* const output = command.throughPipe ? &pipe : nullptr;
        const auto handle =
            command.directory.empty()
                ? Poco::Process::launch(command.words[0], arguments, nullptr, output, nullptr)
                : Poco::Process::launch(command.words[0], arguments, command.directory, nullptr,
                                        output, nullptr);
        const auto started = std::make_shared<Process>(Process{pipe, handle});
        child = {started, handle.id(),
                 [started] { return Poco::Process::isRunning(started->handle); },
                 [started](int& code) { return Try([&] { code = started->handle.wait(); }); }};
    });
}

Answer Open(const std::string& name, std::size_t size, bool server, Segment& segment) {
    return Try([&] {
        const auto memory = std::make_shared<Poco::SharedMemory>(
            name, size, Poco::SharedMemory::AM_WRITE, nullptr, server);
        segment = {memory, memory->begin()};
    });
}

}  // namespace

Library ThisLibrary() {
    const Poco::UInt32 version = Poco::Environment::libraryVersion();
    const auto part = [version](unsigned shift) {
        return std::to_string((version >> shift) & 0xFFU);
    };
    Library library;
    library.name = "POCO";
    library.version = part(24) + "." + part(16) + "." + part(8);
    library.calls =
        "`File::copyTo`, `File::moveTo`, `Process::launch`, `Process::isRunning`, both outputs "
        "read one "
        "after the other by `PipeInputStream`, `ProcessHandle::wait`, `File::remove` with its "
        "directory's contents, `SharedMemory`, "
        "`SharedLibrary::load`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Try([&] { Poco::File(from).copyTo(to); });
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Try([&] { Poco::File(from).moveTo(to); });
    };
    library.start = Start;
    library.collect = [](const std::vector<std::string>& words, std::string& output,
                         std::string& errors) {
        return Try([&] {
            Poco::Pipe out;
            Poco::Pipe err;
            const auto handle = Poco::Process::launch(words[0], {words.begin() + 1, words.end()},
                                                      nullptr, &out, &err);
            Poco::PipeInputStream first(out);
            Poco::PipeInputStream second(err);
            Poco::StreamCopier::copyToString(first, output);
            Poco::StreamCopier::copyToString(second, errors);
            handle.wait();
        });
    };
    library.deleteTree = [](const std::string& path) {
        return Try([&] { Poco::File(path).remove(true); });
    };
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return Open(name, size, true, segment);
    };
    library.attach = [](const std::string& name, std::size_t size, Segment& segment) {
        return Open(name, size, false, segment);
    };
    library.load = [](const std::string& file) {
        return Try([&] { Poco::SharedLibrary().load(file); });
    };
    return library;
}
