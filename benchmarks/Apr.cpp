// The jobs by APR alone, with a pool for each operation, as the library needs one.

#include <apr_atomic.h>
#include <apr_dso.h>
#include <apr_env.h>
#include <apr_file_info.h>
#include <apr_file_io.h>
#include <apr_shm.h>
#include <apr_thread_proc.h>
#include <apr_time.h>

#include <cstring>

#include "AprPool.h"
#include "Jobs.h"

namespace {

constexpr apr_fileperms_t kDefault = APR_FPROT_OS_DEFAULT;
constexpr apr_int32_t kCreate = APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_TRUNCATE;

template <apr_int32_t kMode>
struct File : Unshared {
    explicit File(const std::string& name) {
        MUST(apr_file_open(&file, name.c_str(), kMode, kDefault, pool) == APR_SUCCESS);
    }
    ~File() { apr_file_close(file); }
    apr_size_t Read(char* to, apr_size_t size) {
        return apr_file_read(file, to, &size) == APR_SUCCESS ? size : 0;
    }
    void Write(const char* from, apr_size_t size) { apr_file_write(file, from, &size); }
    bool Line(char* to, int size) { return apr_file_gets(to, size, file) == APR_SUCCESS; }
    Pool pool;
    apr_file_t* file = nullptr;
};
using Reader = File<APR_FOPEN_READ>;
using BufferedReader = File<APR_FOPEN_READ | APR_FOPEN_BUFFERED>;

bool Exists(const std::string& name) {
    apr_finfo_t info;
    return apr_stat(&info, name.c_str(), APR_FINFO_SIZE, Pool()) == APR_SUCCESS;
}
bool Facts() {
    apr_finfo_t info;
    return apr_stat(&info, kKnownFile, APR_FINFO_MIN | APR_FINFO_LINK, Pool()) == APR_SUCCESS;
}

struct Directory {
    explicit Directory(const std::string& name) {
        MUST(apr_dir_open(&directory, name.c_str(), pool) == APR_SUCCESS);
    }
    Pool pool;
    apr_dir_t* directory = nullptr;
};
auto ReadNames(apr_dir_t* directory) {
    std::vector<std::string> names;
    apr_finfo_t info;
    while (apr_dir_read(&info, APR_FINFO_NAME, directory) == APR_SUCCESS) {
        if (std::strcmp(info.name, ".") != 0 && std::strcmp(info.name, "..") != 0) {
            names.emplace_back(info.name);
        }
    }
    return names;
}

void Start(bool collect) {
    const Pool pool;
    apr_procattr_t* attributes = nullptr;
    apr_procattr_create(&attributes, pool);
    apr_procattr_cmdtype_set(attributes, APR_PROGRAM_PATH);
    apr_procattr_io_set(attributes, APR_NO_PIPE, APR_FULL_BLOCK, APR_FULL_BLOCK);
    const char* const arguments[] = {"/bin/true", nullptr};
    apr_proc_t process{};
    MUST(apr_proc_create(&process, arguments[0], arguments, nullptr, attributes, pool) ==
         APR_SUCCESS);
    for (apr_file_t* const pipe : {process.out, process.err}) {
        char text[4096];
        apr_size_t size = sizeof text;
        while (collect && apr_file_read(pipe, text, &size) == APR_SUCCESS) {
        }
    }
    MUST(apr_proc_wait(&process, nullptr, nullptr, APR_WAIT) == APR_CHILD_DONE);
}

void Share(const std::string& name, std::size_t size, bool attach) {
    const Pool pool;
    const Pool otherPool;
    apr_shm_t* owner = nullptr;
    apr_shm_t* other = nullptr;
    MUST(apr_shm_create(&owner, size, name.c_str(), pool) == APR_SUCCESS);
    Touch(apr_shm_baseaddr_get(owner), size);
    if (attach) {
        MUST(apr_shm_attach(&other, name.c_str(), otherPool) == APR_SUCCESS);
        benchmark::DoNotOptimize(*static_cast<char*>(apr_shm_baseaddr_get(other)));
    }
    MUST(apr_shm_destroy(owner) == APR_SUCCESS);
}

const bool kAdded = [] {
    const Jobs jobs("apr", Keep<Pool>);
    jobs.Plain<Reader, File<kCreate>>();
    jobs.Buffered<BufferedReader, File<kCreate | APR_FOPEN_BUFFERED>>();
    jobs.Copy([](auto& from, auto& to) {
        return apr_file_copy(from.c_str(), to.c_str(), kDefault, Pool());
    });
    jobs.Rename(
        [](auto& from, auto& to) { return apr_file_rename(from.c_str(), to.c_str(), Pool()); });
    jobs.Exists(Exists);
    jobs.List([](auto& name) {
        const Directory open(name);
        auto names = ReadNames(open.directory);
        apr_dir_close(open.directory);
        return names;
    });
    jobs.Directories(
        [](auto& path) { return apr_dir_make(path.c_str(), kDefault, Pool()); },
        [](auto& path) { return apr_dir_make_recursive(path.c_str(), kDefault, Pool()); },
        [](auto& path) { return apr_dir_remove(path.c_str(), Pool()); });
    jobs.Repeat("FileFacts", Facts);
    jobs.With("ReadVariable", Make<Pool>(), [](const Pool& pool) {
        char* value = nullptr;
        apr_env_get(&value, "PATH", pool);
        return value;
    });
    jobs.With("SetVariable", Make<Pool>(), [](const Pool& pool) {
        MUST(apr_env_set("ZUKEL_BENCHMARK_APR", "value", pool) == APR_SUCCESS);
    });
    jobs.Start([] { Start(false); });
    jobs.Run([] { Start(true); });
    jobs.Repeat("LoadFindUnload", [] {
        const Pool pool;
        apr_dso_handle_t* module = nullptr;
        apr_dso_handle_sym_t answer = nullptr;
        MUST(apr_dso_load(&module, ZUKEL_BENCHMARK_MODULE, pool) == APR_SUCCESS);
        MUST(apr_dso_sym(&answer, module, "Answer") == APR_SUCCESS);
        CallAnswer(answer);
        MUST(apr_dso_unload(module) == APR_SUCCESS);
    });
    jobs.Segment(Share);
    jobs.With(
        "Format",
        [] {
            apr_time_exp_t time{};
            apr_time_exp_gmt(&time, apr_time_now());
            return time;
        },
        [](const apr_time_exp_t& time) {
            char buffer[256];
            apr_size_t length = 0;
            auto* const read = const_cast<apr_time_exp_t*>(&time);
            apr_strftime(buffer, &length, sizeof buffer, kPattern, read);
            return std::string(buffer, length);
        });
    jobs.Repeat("IdleObject", [] { benchmark::DoNotOptimize(static_cast<apr_pool_t*>(Pool())); });
    jobs.Idle<Pool>("kelFile");
    jobs.Idle<Pool>("kelLibrary");
    jobs.Growth("openings", Make<Pool>(), [](const Pool& pool) {
        apr_file_t* file = nullptr;
        char byte = 0;
        MUST(apr_file_open(&file, kKnownFile, APR_FOPEN_READ | APR_FOPEN_BUFFERED,
                           APR_FPROT_OS_DEFAULT, pool) == APR_SUCCESS);
        MUST(apr_file_getc(&byte, file) == APR_SUCCESS);
        apr_file_close(file);
    });
    jobs.Growth(
        "listings", [] { return Directory(Work::Get().Directory(100)); },
        [](Directory& open) {
            apr_dir_rewind(open.directory);
            MUST(ReadNames(open.directory).size() == 100);
        });

    // In two threads, which must not start APR at once: it counts its users without a lock.
    const Jobs threaded("apr");
    threaded.Counter<apr_uint32_t>([](auto& counter) { return apr_atomic_inc32(&counter); });

    const Jobs cold("aprCold");
    cold.OpenClose<Reader>();
    cold.Exists(Exists);
    cold.Repeat("FileFacts", Facts);
    return true;
}();

}  // namespace
