#include "kelProcess.h"

#include <apr_errno.h>
#include <apr_file_io.h>

#include <algorithm>
#include <array>
#include <vector>

#include "frame/StatusMapping.h"
#include "platform/Processes.h"
#include "process/kelProcessRecord.h"

namespace platform = zukel::platform;

namespace {

zuString Text(apr_status_t status) {
    std::array<char, 512> buffer{};  // the stack of a thread may be small
    return apr_strerror(status, buffer.data(), buffer.size());
}

bool HasNul(const zuString& text) noexcept {
    return text.find('\0') != zuString::npos;
}

/// The system would take each text up to its first NUL.
apr_status_t Check(const zuString& command, const zuStlVector<zuString>& arguments,
                   const zuString& directory) noexcept {
    if (HasNul(command) || HasNul(directory)) {
        return APR_ENOENT;
    }
    return std::any_of(arguments.begin(), arguments.end(), HasNul) ? APR_EINVAL : APR_SUCCESS;
}

/// The name of the program and its arguments, as the system takes them: the strings' own text.
std::vector<const char*> Vector(const zuString& command, const zuStlVector<zuString>& arguments) {
    std::vector<const char*> vector;
    vector.reserve(arguments.size() + 2);
    vector.push_back(command.c_str());
    for (const zuString& argument : arguments) {
        vector.push_back(argument.c_str());
    }
    vector.push_back(nullptr);
    return vector;
}

/// The files that take a child's output, open for the length of one start. One that cannot be
/// opened is done without.
class OutputFiles {
public:
    explicit OutputFiles(const zuStlVector<zuString>& names) noexcept {
        if (names.empty()) {
            return;
        }
        Open(names[0], first_);
        if (names.size() > 1 && names[1] != names[0]) {
            Open(names[1], second_);
            error_ = &second_;
        }
    }
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    const platform::FileHandle* Output() const noexcept { return OrNone(first_); }
    /// Under one name both streams share one file, and so keep their order.
    const platform::FileHandle* Error() const noexcept { return OrNone(*error_); }

private:
    static void Open(const zuString& name, platform::FileHandle& file) noexcept {
        constexpr int kAppend = APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_APPEND;
        if (!HasNul(name)) {
            platform::OpenFileByName(name.c_str(), kAppend, file);
        }
    }
    static const platform::FileHandle* OrNone(const platform::FileHandle& file) noexcept {
        return file ? &file : nullptr;
    }

    platform::FileHandle first_;
    platform::FileHandle second_;
    const platform::FileHandle* error_ = &first_;
};

}  // namespace

kelProcess::kelProcess() : record_(new kelProcessRecord) {}

kelProcess::kelProcess(const kelProcess& other) : record_(nullptr), lastError_(other.lastError_) {
    record_ = zukel::Share(other.record_);  // last: the text may run out of memory
}

kelProcess::~kelProcess() {
    zukel::Release(record_);
}

kelProcess& kelProcess::operator=(const kelProcess& other) {
    lastError_ = other.lastError_;  // first: it may run out of memory
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelProcess::Start(const zuString& command, const zuStlVector<zuString>& arguments,
                      const zuString& directory, const zuStlVector<zuString>& outputFiles,
                      bool detach) {
    const std::vector<const char*> vector = Vector(command, arguments);
    lastError_.clear();
    record_->child.reset();
    apr_status_t status = Check(command, arguments, directory);
    if (status == APR_SUCCESS) {
        const OutputFiles files(outputFiles);
        status = platform::Launch({vector.data(), directory.empty() ? nullptr : directory.c_str(),
                                   files.Output(), files.Error(), detach},
                                  record_->child);
    }
    if (status != APR_SUCCESS) {
        lastError_ = Text(status);
    }
    return zukel::MapStatus(status);
}

int kelProcess::Start(const zuString& command, const zuStlVector<zuString>& arguments,
                      const zuString& directory, bool detach) {
    return Start(command, arguments, directory, {}, detach);
}

int kelProcess::Start(const zuString& command, const zuStlVector<zuString>& arguments,
                      bool detach) {
    return Start(command, arguments, {}, {}, detach);
}

int kelProcess::Start(const zuString& command, bool detach) {
    return Start(command, {}, {}, {}, detach);
}

bool kelProcess::IsRunning() const {
    return record_->child != nullptr && platform::IsRunning(*record_->child);
}

bool kelProcess::IsRunning(int pid) {
    return pid > 0 && platform::IsProcessRunning(pid);
}

int kelProcess::GetPid() const {
    return record_->child == nullptr ? -1 : platform::Identifier(*record_->child);
}

int kelProcess::GetCurrentProcessPid() {
    return platform::CurrentProcess();
}

int kelProcess::Kill() {
    lastError_.clear();
    if (record_->child == nullptr) {
        return zukel::Fail(APR_EPROC_UNKNOWN);
    }
    const apr_status_t status = platform::End(*record_->child);
    record_->child.reset();
    if (status != APR_SUCCESS) {
        lastError_ = Text(status);
    }
    return zukel::MapStatus(status);
}

int kelProcess::NativeKill(int pid) {
    // 0 and below are groups of processes, the caller's own or all there are.
    if (pid <= 0) {
        return zukel::Fail(APR_EINVAL);
    }
    return platform::EndProcess(pid) ? kelStatusOk : zukel::FailAsToldBySystem();
}

zuString kelProcess::GetLastError() {
    return lastError_;
}
