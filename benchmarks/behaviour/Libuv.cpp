#include <uv.h>

#include <cstdint>

#include "Library.h"

namespace {

void CheckResult(int result) {
    Check(result >= 0, uv_strerror(result));
}

struct Child {
    uv_process_t process{};
    uv_pipe_t pipes[2]{};  ///< For its output and its errors.
    int code = -1;
    bool ended = false;
};

/// Closes the handles, as the library wants it before their memory goes.
struct Close {
    void operator()(Child* child) const {
        const auto close = [](auto& handle) {
            auto* const plain = reinterpret_cast<uv_handle_t*>(&handle);
            if (plain->type != UV_UNKNOWN_HANDLE && uv_is_closing(plain) == 0) {
                uv_close(plain, nullptr);
            }
        };
        close(child->process);
        close(child->pipes[0]);
        close(child->pipes[1]);
        uv_run(uv_default_loop(), UV_RUN_NOWAIT);
        delete child;
    }
};

/// Starts a program with the first so many of its outputs through pipes.
void Spawn(const Command& command, int pipes, Child& child) {
    const std::vector<const char*> words = command.Pointers();
    uv_stdio_container_t streams[3]{};
    uv_process_options_t options{};
    options.file = words[0];
    options.args = const_cast<char**>(words.data());
    options.cwd = command.directory.empty() ? nullptr : command.directory.c_str();
    options.stdio = streams;
    options.stdio_count = pipes == 0 ? 0 : 1 + pipes;
    options.exit_cb = [](uv_process_t* process, std::int64_t code, int signal) {
        auto& ended = *static_cast<Child*>(process->data);
        ended.code = signal == 0 ? static_cast<int>(code) : -1;
        ended.ended = true;
    };
    for (int pipe = 0; pipe < pipes; ++pipe) {
        uv_pipe_init(uv_default_loop(), &child.pipes[pipe], 0);
        streams[1 + pipe].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
        streams[1 + pipe].data.stream = reinterpret_cast<uv_stream_t*>(&child.pipes[pipe]);
    }
    child.process.data = &child;
    CheckResult(uv_spawn(uv_default_loop(), &child.process, &options));
}

void MakeRoom(uv_handle_t*, std::size_t size, uv_buf_t* room) {
    static std::vector<char> bytes;
    bytes.resize(size);
    *room = uv_buf_init(bytes.data(), static_cast<unsigned>(size));
}

void TakePiece(uv_stream_t* stream, ssize_t size, const uv_buf_t* piece) {
    if (size < 0) {
        uv_read_stop(stream);
        return;
    }
    static_cast<std::string*>(stream->data)->append(piece->base, static_cast<std::size_t>(size));
}

class Libuv : public Library {
    Description About() const override {
        return {"libuv", uv_version_string(),
                "`uv_fs_copyfile`, `uv_fs_rename`, `uv_spawn` (forgotten: `uv_close`), "
                "`uv_process_kill` with signal 0, `uv_run` until the exit callback, both outputs "
                "by `uv_read_start`, `uv_dlopen`"};
    }
    void Copy(Text from, Text to) override {
        uv_fs_t request;
        CheckResult(uv_fs_copyfile(nullptr, &request, from.c_str(), to.c_str(), 0, nullptr));
    }
    void Move(Text from, Text to) override {
        uv_fs_t request;
        CheckResult(uv_fs_rename(nullptr, &request, from.c_str(), to.c_str(), nullptr));
    }
    void Load(Text file) override {
        uv_lib_t module;
        const bool done = uv_dlopen(file.c_str(), &module) == 0;
        Check(done, uv_dlerror(&module));
    }

    long Start(const Command& command) override {
        child_.reset(new Child);
        Spawn(command, command.throughPipe ? 1 : 0, *child_);
        return child_->process.pid;
    }
    bool IsRunning() override { return uv_process_kill(&child_->process, 0) == 0; }
    int Wait() override {
        while (!child_->ended) {
            uv_run(uv_default_loop(), UV_RUN_ONCE);
        }
        return child_->code;
    }
    void Forget() override { child_.reset(); }
    void Turn() override { uv_run(uv_default_loop(), UV_RUN_NOWAIT); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        const std::unique_ptr<Child, Close> child(new Child);
        Spawn(command, 2, *child);
        std::string* const texts[2] = {&output, &errors};
        for (int pipe = 0; pipe < 2; ++pipe) {
            child->pipes[pipe].data = texts[pipe];
            uv_read_start(reinterpret_cast<uv_stream_t*>(&child->pipes[pipe]), MakeRoom, TakePiece);
        }
        uv_run(uv_default_loop(), UV_RUN_DEFAULT);
    }

    std::unique_ptr<Child, Close> child_;
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Libuv>();
}
