// The jobs by libuv, as calls that return when they are done; a program runs on the default loop.

#include <fcntl.h>
#include <uv.h>

#include "Jobs.h"

namespace {

/// Does a call on files by its name less `uv_fs_`, and gives its result.
template <typename Call, typename... Arguments>
ssize_t Do(Call call, Arguments... arguments) {
    uv_fs_t request;
    call(nullptr, &request, arguments..., nullptr);
    const ssize_t result = request.result;
    uv_fs_req_cleanup(&request);
    return result;
}

template <int kMode>
struct File : Unbuffered<File<kMode>> {
    explicit File(const std::string& name)
        : file(static_cast<uv_file>(Do(uv_fs_open, name.c_str(), kMode, 0666))) {
        MUST(file >= 0);
    }
    ~File() { MUST(Do(uv_fs_close, file) == 0); }
    auto Read(char* to, std::size_t size) { return ReadAt(-1, to, size); }
    void Write(const char* from, std::size_t size) {
        const uv_buf_t text = uv_buf_init(const_cast<char*>(from), static_cast<unsigned>(size));
        MUST(Do(uv_fs_write, file, &text, 1U, -1) > 0);
    }
    std::size_t ReadAt(std::int64_t offset, char* to, std::size_t size) {
        const uv_buf_t room = uv_buf_init(to, static_cast<unsigned>(size));
        return static_cast<std::size_t>(Do(uv_fs_read, file, &room, 1U, offset));
    }
    uv_file file;
};
using Reader = File<UV_FS_O_RDONLY>;

auto List(const std::string& directory) {
    std::vector<std::string> names;
    uv_fs_t request;
    MUST(uv_fs_scandir(nullptr, &request, directory.c_str(), 0, nullptr) >= 0);
    for (uv_dirent_t entry; uv_fs_scandir_next(&request, &entry) != UV_EOF;) {
        names.emplace_back(entry.name);
    }
    uv_fs_req_cleanup(&request);
    return names;
}
void MakeRoom(uv_handle_t*, std::size_t size, uv_buf_t* room) {
    static std::vector<char> bytes;
    bytes.resize(size);
    *room = uv_buf_init(bytes.data(), static_cast<unsigned>(size));
}
void TakePiece(uv_stream_t* pipe, ssize_t size, const uv_buf_t*) {
    if (size < 0) {
        uv_close(reinterpret_cast<uv_handle_t*>(pipe), nullptr);
    }
}
void Run(uv_process_options_t& options) {
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    uv_process_t process;
    options.file = program;
    options.args = arguments;
    options.exit_cb = [](uv_process_t* ended, std::int64_t status, int) {
        MUST(status == 0);
        uv_close(reinterpret_cast<uv_handle_t*>(ended), nullptr);
    };
    MUST(uv_spawn(uv_default_loop(), &process, &options) == 0);
    for (int stream = 1; stream < options.stdio_count; ++stream) {
        MUST(uv_read_start(options.stdio[stream].data.stream, MakeRoom, TakePiece) == 0);
    }
    MUST(uv_run(uv_default_loop(), UV_RUN_DEFAULT) == 0);
}

const bool kAdded = [] {
    const Jobs jobs("libuv");
    jobs.Plain<Reader, File<UV_FS_O_WRONLY | UV_FS_O_CREAT | UV_FS_O_TRUNC>>();
    jobs.ReadAt<Reader>();
    jobs.Copy([](auto& from, auto& to) { return Do(uv_fs_copyfile, from.c_str(), to.c_str(), 0); });
    jobs.Rename([](auto& from, auto& to) { return Do(uv_fs_rename, from.c_str(), to.c_str()); });
    jobs.Exists([](auto& name) { return Do(uv_fs_access, name.c_str(), F_OK) == 0; });
    jobs.List(List);
    jobs.MakeAndRemove([](auto& path) { return Do(uv_fs_mkdir, path.c_str(), 0777); },
                       [](auto& path) { return Do(uv_fs_rmdir, path.c_str()); });
    jobs.Repeat("FileFacts", [] { return Do(uv_fs_lstat, kKnownFile) == 0; });
    jobs.Repeat("ReadVariable", [] {
        char value[4096];
        std::size_t size = sizeof value;
        MUST(uv_os_getenv("PATH", value, &size) == 0);
        return std::string(value, size);
    });
    jobs.Repeat("SetVariable", [] { return uv_os_setenv("ZUKEL_BENCHMARK_UV", "value") == 0; });
    jobs.Start([] {
        uv_process_options_t options{};
        Run(options);
    });
    jobs.Run([] {
        uv_pipe_t pipes[2];
        uv_stdio_container_t streams[3]{};
        for (int stream = 1; stream < 3; ++stream) {
            uv_pipe_t& pipe = pipes[stream - 1];
            MUST(uv_pipe_init(uv_default_loop(), &pipe, 0) == 0);
            streams[stream].flags = uv_stdio_flags(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
            streams[stream].data.stream = reinterpret_cast<uv_stream_t*>(&pipe);
        }
        uv_process_options_t options{};
        options.stdio = streams;
        options.stdio_count = 3;
        Run(options);
    });
    jobs.Repeat("MonotonicTime", uv_hrtime);
    jobs.Repeat("LoadFindUnload", [] {
        uv_lib_t module;
        void* answer = nullptr;
        MUST(uv_dlopen(ZUKEL_BENCHMARK_MODULE, &module) == 0);
        MUST(uv_dlsym(&module, "Answer", &answer) == 0);
        CallAnswer(answer);
        uv_dlclose(&module);
    });
    jobs.Repeat("Disk", [] { return Do(uv_fs_statfs, "/tmp") == 0; });
    jobs.Idle<uv_lib_t>("kelDynamicObject");
    jobs.Idle<uv_process_t>("kelProcess");
    return true;
}();

}  // namespace
