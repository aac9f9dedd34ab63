#include <boost/asio/io_context.hpp>
#include <boost/dll/shared_library.hpp>
#include <boost/filesystem.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <boost/interprocess/sync/file_lock.hpp>
#include <boost/process.hpp>
#include <boost/process/async.hpp>
#include <boost/version.hpp>

#include <fstream>
#include <future>

#include "Library.h"

namespace fs = boost::filesystem;
namespace ipc = boost::interprocess;
namespace process = boost::process;

namespace {

template <typename Call>
Answer Try(Call call) {
    try {
        call();
        return {true, ""};
    } catch (const std::exception& exception) {
        return {false, exception.what()};
    }
}

struct Process {
    process::ipstream output;
    process::child child;
};

Answer Start(const Command& command, Child& child) {
    return Try([&] {
        const auto started = std::make_shared<Process>();
        const std::vector<std::string> arguments(command.words.begin() + 1, command.words.end());
        const std::string& program = command.words[0];
        if (command.throughPipe) {
            started->child = process::child(program, process::args = arguments,
                                            process::std_out > started->output);
        } else if (!command.directory.empty()) {
            started->child = process::child(program, process::args = arguments,
                                            process::start_dir = command.directory);
        } else {
            started->child = process::child(program, process::args = arguments);
        }
        child = {started, started->child.id(), [started] { return started->child.running(); },
                 [started](int& code) {
                     return Try([&] {
                         started->child.wait();
                         code = started->child.exit_code();
                     });
                 }};
    });
}

Answer Collect(const std::vector<std::string>& words, std::string& output, std::string& errors) {
    return Try([&] {
        boost::asio::io_context context;
        std::future<std::string> out;
        std::future<std::string> err;
        const std::vector<std::string> arguments(words.begin() + 1, words.end());
        process::child child(words[0], process::args = arguments, process::std_out > out,
                             process::std_err > err, context);
        context.run();
        child.wait();
        output = out.get();
        errors = err.get();
    });
}

Answer Lock(const std::string& file, std::shared_ptr<void>& object) {
    const auto lock = std::make_shared<ipc::file_lock>(file.c_str());
    object = lock;
    return {lock->try_lock(), ""};
}

struct Mapped {
    ipc::shared_memory_object memory;
    ipc::mapped_region region;
};

template <typename Open>
Answer OpenSegment(Segment& segment, Open open) {
    return Try([&] {
        const auto mapped = std::make_shared<Mapped>();
        mapped->memory = open();
        mapped->region = ipc::mapped_region(mapped->memory, ipc::read_write);
        segment = {mapped, static_cast<char*>(mapped->region.get_address())};
    });
}

}  // namespace

Library ThisLibrary() {
    Library library;
    library.name = "Boost";
    library.version = std::to_string(BOOST_VERSION / 100000) + "." +
                      std::to_string(BOOST_VERSION / 100 % 1000) + "." +
                      std::to_string(BOOST_VERSION % 100);
    library.calls =
        "`filesystem::copy_file` with overwriting, `filesystem::rename`, `process::child` and "
        "`running`, `wait`, both outputs as futures in an `io_context`, "
        "`filesystem::remove_all`, `interprocess::file_lock`, `interprocess::shared_memory_object` "
        "with `create_only`, `open_only` and "
        "`remove`, `dll::shared_library`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Try([&] { fs::copy_file(from, to, fs::copy_option::overwrite_if_exists); });
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Try([&] { fs::rename(from, to); });
    };
    library.start = Start;
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return OpenSegment(segment, [&] {
            ipc::shared_memory_object memory(ipc::create_only, name.c_str(), ipc::read_write);
            memory.truncate(static_cast<ipc::offset_t>(size));
            return memory;
        });
    };
    library.attach = [](const std::string& name, std::size_t, Segment& segment) {
        return OpenSegment(segment, [&] {
            return ipc::shared_memory_object(ipc::open_only, name.c_str(), ipc::read_write);
        });
    };
    library.clear = [](const std::string& name) {
        return Answer{ipc::shared_memory_object::remove(name.c_str()), ""};
    };
    library.collect = Collect;
    library.deleteTree = [](const std::string& path) { return Try([&] { fs::remove_all(path); }); };
    library.lock = Lock;
    library.openAndClose = [](const std::string& file) { std::ifstream(file).get(); };
    library.load = [](const std::string& file) {
        return Try([&] { boost::dll::shared_library module(file); });
    };
    return library;
}
