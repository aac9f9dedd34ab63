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

namespace {

namespace fs = boost::filesystem;
namespace ipc = boost::interprocess;
namespace process = boost::process;

struct Child {
    process::ipstream output;
    process::child child;
};

class Boost : public Library {
    Description About() const override {
        return {"Boost",
                std::to_string(BOOST_VERSION / 100000) + "." +
                    std::to_string(BOOST_VERSION / 100 % 1000) + "." +
                    std::to_string(BOOST_VERSION % 100),
                "`filesystem::copy_file` with overwriting, `filesystem::rename`, `process::child` "
                "and `running`, `wait`, both outputs as futures in an `io_context`, "
                "`filesystem::remove_all`, `interprocess::file_lock`, "
                "`interprocess::shared_memory_object` with `create_only`, `open_only` and "
                "`remove`, `dll::shared_library`"};
    }
    void Copy(Text from, Text to) override {
        fs::copy_file(from, to, fs::copy_option::overwrite_if_exists);
    }
    void Move(Text from, Text to) override { fs::rename(from, to); }
    void DeleteTree(Text path) override { fs::remove_all(path); }
    void Lock(Text file) override {
        locked_ = ipc::file_lock(file.c_str());
        Check(locked_.try_lock());
    }
    void OpenAndClose(Text file) override { std::ifstream(file).get(); }
    void Load(Text file) override { boost::dll::shared_library module(file); }

    long Start(const Command& command) override {
        const std::string& program = command.words[0];
        const auto arguments = process::args = command.Arguments();
        child_ = std::make_unique<Child>();
        if (command.throughPipe) {
            child_->child = process::child(program, arguments, process::std_out > child_->output);
        } else if (!command.directory.empty()) {
            child_->child =
                process::child(program, arguments, process::start_dir = command.directory);
        } else {
            child_->child = process::child(program, arguments);
        }
        return child_->child.id();
    }
    bool IsRunning() override { return child_->child.running(); }
    int Wait() override {
        child_->child.wait();
        return child_->child.exit_code();
    }
    void Forget() override { child_.reset(); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        boost::asio::io_context context;
        std::future<std::string> out;
        std::future<std::string> err;
        process::child child(command.words[0], process::args = command.Arguments(),
                             process::std_out > out, process::std_err > err, context);
        context.run();
        child.wait();
        output = out.get();
        errors = err.get();
    }

    char* Create(Text name, std::size_t size) override {
        ipc::shared_memory_object memory(ipc::create_only, name.c_str(), ipc::read_write);
        memory.truncate(static_cast<ipc::offset_t>(size));
        return Map(memory);
    }
    char* Attach(Text name, std::size_t) override {
        return Map(ipc::shared_memory_object(ipc::open_only, name.c_str(), ipc::read_write));
    }
    char* Map(const ipc::shared_memory_object& memory) {
        region_ = ipc::mapped_region(memory, ipc::read_write);
        return static_cast<char*>(region_.get_address());
    }
    void Release() override { region_ = ipc::mapped_region(); }
    void Clear(Text name) override { Check(ipc::shared_memory_object::remove(name.c_str())); }

    ipc::file_lock locked_;
    std::unique_ptr<Child> child_;
    ipc::mapped_region region_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Boost>();
}
