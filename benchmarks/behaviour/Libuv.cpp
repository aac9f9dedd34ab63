#include <uv.h>

#include <cstdint>

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
    uv_pipe_t pipes[2]{};  ///< For its output and its errors.
    std::string texts[2];
    int code = -1;
    bool ended = false;
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
    close(started->pipes[0]);
    close(started->pipes[1]);
    Turn();
    delete started;
}

/// Starts a program with the first so many of its outputs through pipes.
int Spawn(const Command& command, int pipes, Process& started) {
    std::vector<char*> words;
    for (const std::string& word : command.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    uv_stdio_container_t streams[3]{};
    uv_process_options_t options{};
    options.file = words[0];
    options.args = words.data();
    options.cwd = command.directory.empty() ? nullptr : command.directory.c_str();
    options.stdio = streams;
    options.stdio_count = pipes == 0 ? 0 : 1 + pipes;
    options.exit_cb = [](uv_process_t* process, std::int64_t code, int signal) {
        auto& ended = *static_cast<Process*>(process->data);
        ended.code = signal == 0 ? static_cast<int>(code) : -1;
        ended.ended = true;
    };
    for (int pipe = 0; pipe < pipes; ++pipe) {
        uv_pipe_init(uv_default_loop(), &started.pipes[pipe], 0);
        streams[1 + pipe].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
        streams[1 + pipe].data.stream = reinterpret_cast<uv_stream_t*>(&started.pipes[pipe]);
    }
    started.process.data = &started;
    return uv_spawn(uv_default_loop(), &started.process, &options);
}

Answer Start(const Command& command, Child& child) {
    const std::shared_ptr<Process> started(new Process, Forget);
    const int result = Spawn(command, command.throughPipe ? 1 : 0, *started);
    child = {started, result == 0 ? started->process.pid : 0,
             [started] { return uv_process_kill(&started->process, 0) == 0; },
             [started](int& code) {
                 while (!started->ended) {
                     uv_run(uv_default_loop(), UV_RUN_ONCE);
                 }
                 code = started->code;
                 return Answer{true, ""};
             }};
    return Of(result);
}

void MakeRoom(uv_handle_t*, std::size_t size, uv_buf_t* room) {
    static std::vector<char> bytes;
    bytes.resize(size);
    *room = uv_buf_init(bytes.data(), static_cast<unsigned>(size));
}

Answer Collect(const std::vector<std::string>& words, std::string& output, std::string& errors) {
    const std::shared_ptr<Process> started(new Process, Forget);
    const Answer answer = Of(Spawn({words, "", true}, 2, *started));
    for (int pipe = 0; pipe < 2; ++pipe) {
        started->pipes[pipe].data = &started->texts[pipe];
        uv_read_start(reinterpret_cast<uv_stream_t*>(&started->pipes[pipe]), MakeRoom,
                      [](uv_stream_t* stream, ssize_t size, const uv_buf_t* piece) {
                          if (size > 0) {
                              static_cast<std::string*>(stream->data)
                                  ->append(piece->base, static_cast<std::size_t>(size));
                          } else if (size < 0) {
                              uv_read_stop(stream);
                          }
                      });
    }
    uv_run(uv_default_loop(), UV_RUN_DEFAULT);
    output = started->texts[0];
    errors = started->texts[1];
    return answer;
}

}  // namespace

Library ThisLibrary() {
    Library library;
    library.name = "libuv";
    library.version = uv_version_string();
    library.calls =
        "`uv_fs_copyfile`, `uv_fs_rename`, `uv_spawn` (forgotten: `uv_close`), `uv_process_kill` "
        "with signal 0, `uv_run` until the exit callback, both outputs by `uv_read_start`, "
        "`uv_dlopen`";
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
    library.collect = Collect;
    library.load = [](const std::string& file) {
        uv_lib_t module;
        const bool done = uv_dlopen(file.c_str(), &module) == 0;
        const Answer answer{done, done ? "" : uv_dlerror(&module)};
        uv_dlclose(&module);
        return answer;
    };
    return library;
}
