#include <uv.h>

#include "Library.h"

namespace {

Answer Of(int result) {
    return {result >= 0, result >= 0 ? "" : uv_strerror(result)};
}

void Turn() {
    uv_run(uv_default_loop(), UV_RUN_NOWAIT);
}

struct Process {
    uv_process_t process{};
    uv_pipe_t pipe{};
};

/// Closes the handles, as the library wants it before their memory goes.
void Forget(Process* started) {
    const auto close = [](auto& handle) {
        auto* const plain = reinterpret_cast<uv_handle_t*>(&handle);
        if (plain->type != UV_UNKNOWN_HANDLE && uv_is_closing(plain) == 0) {
            uv_close(plain, nullptr);
        }
    };
    close(started->process);
    close(started->pipe);
    Turn();
    delete started;
}

Answer Start(const Command& command, Child& child) {
    const std::shared_ptr<Process> started(new Process, Forget);
    std::vector<char*> words;
    for (const std::string& word : command.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    uv_stdio_container_t streams[2]{};
    uv_process_options_t options{};
    options.file = words[0];
    options.args = words.data();
    options.cwd = command.directory.empty() ? nullptr : command.directory.c_str();
    if (command.throughPipe) {
        uv_pipe_init(uv_default_loop(), &started->pipe, 0);
        streams[1].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
        streams[1].data.stream = reinterpret_cast<uv_stream_t*>(&started->pipe);
        options.stdio = streams;
        options.stdio_count = 2;
    }
    const int result = uv_spawn(uv_default_loop(), &started->process, &options);
    child = {started, result == 0 ? started->process.pid : 0,
             [started] { return uv_process_kill(&started->process, 0) == 0; }};
    return Of(result);
}

}  // namespace

Library ThisLibrary() {
    Library library;
    library.name = "libuv";
    library.version = uv_version_string();
    library.calls =
        "`uv_fs_copyfile`, `uv_fs_rename`, `uv_spawn` (forgotten: `uv_close`), `uv_process_kill` "
        "with signal 0, `uv_dlopen`";
    library.copy = [](const std::string& from, const std::string& to) {
        uv_fs_t request;
        const int result = uv_fs_copyfile(nullptr, &request, from.c_str(), to.c_str(), 0, nullptr);
        uv_fs_req_cleanup(&request);
        return Of(result);
    };
    library.move = [](const std::string& from, const std::string& to) {
        uv_fs_t request;
        const int result = uv_fs_rename(nullptr, &request, from.c_str(), to.c_str(), nullptr);
        uv_fs_req_cleanup(&request);
        return Of(result);
    };
    library.start = Start;
    library.turn = Turn;
    library.load = [](const std::string& file) {
        uv_lib_t module;
        const bool done = uv_dlopen(file.c_str(), &module) == 0;
        const Answer answer{done, done ? "" : uv_dlerror(&module)};
        uv_dlclose(&module);
        return answer;
    };
    return library;
}
