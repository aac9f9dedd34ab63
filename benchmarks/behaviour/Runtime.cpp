#include <apr_dso.h>
#include <apr_file_io.h>
#include <apr_shm.h>
#include <apr_thread_proc.h>
#include <apr_version.h>

#include "../RuntimePool.h"
#include "Library.h"

namespace {

Answer Of(apr_status_t status) {
    char text[200] = "";
    return {status == APR_SUCCESS,
            status == APR_SUCCESS ? "" : apr_strerror(status, text, sizeof text)};
}

struct Process {
    Pool pool;
    apr_proc_t process{};
};

Answer StartWith(const Command& command, bool errors, Child& child,
                 std::shared_ptr<Process>& started) {
    started = std::make_shared<Process>();
    std::vector<const char*> words;
    for (const std::string& word : command.words) {
        words.push_back(word.c_str());
    }
    words.push_back(nullptr);
    apr_procattr_t* attributes = nullptr;
    apr_procattr_create(&attributes, started->pool);
    apr_procattr_cmdtype_set(attributes, APR_PROGRAM_ENV);
    if (!command.directory.empty()) {
        apr_procattr_dir_set(attributes, command.directory.c_str());
    }
    if (command.throughPipe) {
        apr_procattr_io_set(attributes, APR_NO_PIPE, APR_FULL_BLOCK,
                            errors ? APR_FULL_BLOCK : APR_NO_PIPE);
    }
    const apr_status_t status = apr_proc_create(&started->process, words[0], words.data(), nullptr,
                                                attributes, started->pool);
    child = {started, status == APR_SUCCESS ? started->process.pid : 0,
             [started = started] {
                 return apr_proc_wait(&started->process, nullptr, nullptr, APR_NOWAIT) ==
                        APR_CHILD_NOTDONE;
             },
             [started = started](int& code) {
                 const apr_status_t ended =
                     apr_proc_wait(&started->process, &code, nullptr, APR_WAIT);
                 return Of(ended == APR_CHILD_DONE ? APR_SUCCESS : ended);
             }};
    return Of(status);
}

Answer Start(const Command& command, Child& child) {
    std::shared_ptr<Process> started;
    return StartWith(command, false, child, started);
}

void ReadAll(apr_file_t* pipe, std::string& text) {
    char room[4096];
    for (apr_size_t size = sizeof room; apr_file_read(pipe, room, &size) == APR_SUCCESS;
         size = sizeof room) {
        text.append(room, size);
    }
}

Answer Collect(const std::vector<std::string>& words, std::string& output, std::string& errors) {
    Child child;
    std::shared_ptr<Process> started;
    const Answer answer = StartWith({words, "", true}, true, child, started);
    ReadAll(started->process.out, output);
    ReadAll(started->process.err, errors);
    return answer;
}

/// The lock of a file that is open for as long as the pool lives.
Answer Lock(const std::string& name, std::shared_ptr<void>& object) {
    const auto pool = std::make_shared<Pool>();
    apr_file_t* file = nullptr;
    const apr_status_t opened =
        apr_file_open(&file, name.c_str(), APR_FOPEN_WRITE, APR_FPROT_OS_DEFAULT, *pool);
    object = pool;
    return Of(opened == APR_SUCCESS ? apr_file_lock(file, APR_FLOCK_EXCLUSIVE | APR_FLOCK_NONBLOCK)
                                    : opened);
}

/// The runtime's segments are known by the name of a file.
std::string FileOf(const std::string& name) {
    return "/tmp/" + name;
}

template <typename Open>
Answer OpenSegment(Segment& segment, Open open) {
    const auto pool = std::make_shared<Pool>();
    apr_shm_t* memory = nullptr;
    const apr_status_t status = open(&memory, *pool);
    if (status == APR_SUCCESS) {
        segment = {pool, static_cast<char*>(apr_shm_baseaddr_get(memory))};
    }
    return Of(status);
}

}  // namespace

Library ThisLibrary() {
    static const Pool alive;
    Library library;
    library.name = "The runtime (APR)";
    library.version = apr_version_string();
    library.calls =
        "`apr_file_copy`, `apr_file_rename`, `apr_proc_create`, `apr_proc_wait`, both outputs read "
        "one after the other, `apr_file_lock`, "
        "`apr_shm_create`, `apr_shm_attach`, `apr_shm_remove`, `apr_dso_load`";
    library.copy = [](const std::string& from, const std::string& to) {
        return Of(apr_file_copy(from.c_str(), to.c_str(), APR_FPROT_FILE_SOURCE_PERMS, Pool()));
    };
    library.move = [](const std::string& from, const std::string& to) {
        return Of(apr_file_rename(from.c_str(), to.c_str(), Pool()));
    };
    library.start = Start;
    library.create = [](const std::string& name, std::size_t size, Segment& segment) {
        return OpenSegment(segment, [&](apr_shm_t** memory, apr_pool_t* pool) {
            return apr_shm_create(memory, size, FileOf(name).c_str(), pool);
        });
    };
    library.attach = [](const std::string& name, std::size_t, Segment& segment) {
        return OpenSegment(segment, [&](apr_shm_t** memory, apr_pool_t* pool) {
            return apr_shm_attach(memory, FileOf(name).c_str(), pool);
        });
    };
    library.clear = [](const std::string& name) {
        return Of(apr_shm_remove(FileOf(name).c_str(), Pool()));
    };
    library.collect = Collect;
    library.lock = Lock;
    library.openAndClose = [](const std::string& name) {
        apr_file_t* file = nullptr;
        apr_file_open(&file, name.c_str(), APR_FOPEN_READ, APR_FPROT_OS_DEFAULT, Pool());
    };
    library.load = [](const std::string& file) {
        const Pool pool;
        apr_dso_handle_t* module = nullptr;
        const apr_status_t status = apr_dso_load(&module, file.c_str(), pool);
        char text[200] = "";
        return Answer{status == APR_SUCCESS,
                      module != nullptr ? apr_dso_error(module, text, sizeof text) : ""};
    };
    return library;
}
