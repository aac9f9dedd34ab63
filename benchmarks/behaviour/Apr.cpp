#include <apr_dso.h>
#include <apr_file_io.h>
#include <apr_shm.h>
#include <apr_thread_proc.h>
#include <apr_version.h>

#include "../AprPool.h"
#include "Library.h"

namespace {

void CheckStatus(apr_status_t status) {
    char text[200] = "";
    Check(status == APR_SUCCESS, apr_strerror(status, text, sizeof text));
}

struct Child {
    Pool pool;
    apr_proc_t process{};
};

std::unique_ptr<Child> StartWith(const Command& command, apr_int32_t errors) {
    auto child = std::make_unique<Child>();
    apr_procattr_t* attributes = nullptr;
    apr_procattr_create(&attributes, child->pool);
    apr_procattr_cmdtype_set(attributes, APR_PROGRAM_ENV);
    if (!command.directory.empty()) {
        apr_procattr_dir_set(attributes, command.directory.c_str());
    }
    if (command.throughPipe) {
        apr_procattr_io_set(attributes, APR_NO_PIPE, APR_FULL_BLOCK, errors);
    }
    CheckStatus(apr_proc_create(&child->process, command.words[0].c_str(),
                                command.Pointers().data(), nullptr, attributes, child->pool));
    return child;
}

void ReadAll(apr_file_t* pipe, std::string& text) {
    char room[4096];
    for (apr_size_t size = sizeof room; apr_file_read(pipe, room, &size) == APR_SUCCESS;
         size = sizeof room) {
        text.append(room, size);
    }
}

/// APR's segments are known by the name of a file.
std::string FileOf(Text name) {
    return "/tmp/" + name;
}

class Apr : public Library {
    Description About() const override {
        return {"APR", apr_version_string(),
                "`apr_file_copy`, `apr_file_rename`, `apr_proc_create`, `apr_proc_wait`, both "
                "outputs read one after the other, `apr_file_lock`, `apr_shm_create`, "
                "`apr_shm_attach`, `apr_shm_remove`, `apr_dso_load`"};
    }
    void Copy(Text from, Text to) override {
        CheckStatus(apr_file_copy(from.c_str(), to.c_str(), APR_FPROT_FILE_SOURCE_PERMS, Pool()));
    }
    void Move(Text from, Text to) override {
        CheckStatus(apr_file_rename(from.c_str(), to.c_str(), Pool()));
    }
    void Lock(Text name) override {
        apr_file_t* file = nullptr;
        CheckStatus(
            apr_file_open(&file, name.c_str(), APR_FOPEN_WRITE, APR_FPROT_OS_DEFAULT, alive_));
        CheckStatus(apr_file_lock(file, APR_FLOCK_EXCLUSIVE | APR_FLOCK_NONBLOCK));
    }
    void OpenAndClose(Text name) override {
        apr_file_t* file = nullptr;
        apr_file_open(&file, name.c_str(), APR_FOPEN_READ, APR_FPROT_OS_DEFAULT, Pool());
    }
    void Load(Text file) override {
        const Pool pool;
        apr_dso_handle_t* module = nullptr;
        char text[200] = "";
        const bool done = apr_dso_load(&module, file.c_str(), pool) == APR_SUCCESS;
        Check(done, apr_dso_error(module, text, sizeof text));
    }

    long Start(const Command& command) override {
        child_ = StartWith(command, APR_NO_PIPE);
        return child_->process.pid;
    }
    bool IsRunning() override {
        return apr_proc_wait(&child_->process, nullptr, nullptr, APR_NOWAIT) == APR_CHILD_NOTDONE;
    }
    int Wait() override {
        int code = -1;
        const apr_status_t ended = apr_proc_wait(&child_->process, &code, nullptr, APR_WAIT);
        CheckStatus(ended == APR_CHILD_DONE ? APR_SUCCESS : ended);
        return code;
    }
    void Forget() override { child_.reset(); }
    void Collect(const Command& command, std::string& output, std::string& errors) override {
        const auto child = StartWith(command, APR_FULL_BLOCK);
        ReadAll(child->process.out, output);
        ReadAll(child->process.err, errors);
    }

    char* Create(Text name, std::size_t size) override {
        apr_shm_t* segment = nullptr;
        held_ = std::make_unique<Pool>();
        CheckStatus(apr_shm_create(&segment, size, FileOf(name).c_str(), *held_));
        return static_cast<char*>(apr_shm_baseaddr_get(segment));
    }
    char* Attach(Text name, std::size_t) override {
        apr_shm_t* segment = nullptr;
        held_ = std::make_unique<Pool>();
        CheckStatus(apr_shm_attach(&segment, FileOf(name).c_str(), *held_));
        return static_cast<char*>(apr_shm_baseaddr_get(segment));
    }
    void Release() override { held_.reset(); }
    void Clear(Text name) override { CheckStatus(apr_shm_remove(FileOf(name).c_str(), Pool())); }

    Pool alive_;
    std::unique_ptr<Child> child_;
    std::unique_ptr<Pool> held_;  ///< With the segment.
};

}  // namespace

std::unique_ptr<Library> ThisLibrary() {
    return std::make_unique<Apr>();
}
