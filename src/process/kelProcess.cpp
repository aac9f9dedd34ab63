#include "kelProcess.h"

#include <apr_errno.h>

#include <algorithm>
#include <array>
#include <utility>

#include "frame/StatusMapping.h"
#include "platform/Processes.h"
#include "process/ProgramStart.h"
#include "process/kelProcessRecord.h"

namespace platform = zukel::platform;

namespace {

zuString Text(apr_status_t status) {
    std::array<char, 512> buffer{};  // the stack of a thread may be small
    return apr_strerror(status, buffer.data(), buffer.size());
}

/// The stream of the older forms: to a file or, without a name, discarded.
kelProcessOptions::Stream ToFile(const zuStlVector<zuString>& names, std::size_t index) {
    if (names.empty()) {
        return {kelProcessOptions::StreamNothing, {}};
    }
    return {kelProcessOptions::StreamFile, names[std::min(index, names.size() - 1)]};
}

int Start(kelProcessRecord& record, zuString& lastError, const kelProcessOptions& options,
          zukel::WithoutFile without) {
    lastError.clear();
    record.Reset();
    const apr_status_t status =
        zukel::StartProgram(options, without, false, record.child, record.pipes);
    record.hasOutput = static_cast<bool>(record.pipes.output);
    record.hasErrors = static_cast<bool>(record.pipes.errors);
    if (status != APR_SUCCESS) {
        lastError = Text(status);
    }
    return zukel::MapStatus(status);
}

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
    kelProcessOptions options;
    options.command = command;
    options.arguments = arguments;
    options.directory = directory;
    options.output = ToFile(outputFiles, 0);
    options.errors = ToFile(outputFiles, 1);
    options.detach = detach;
    return ::Start(*record_, lastError_, options, zukel::WithoutFile::GoesNowhere);
}

int kelProcess::Start(const kelProcessOptions& options) {
    return ::Start(*record_, lastError_, options, zukel::WithoutFile::Fails);
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
    record_->killed = std::move(record_->child);
    if (status != APR_SUCCESS) {
        lastError_ = Text(status);
    }
    return zukel::MapStatus(status);
}

int kelProcess::NativeKill(int pid) {
    // 0 and below are process groups: the caller's own, or all processes.
    if (pid <= 0) {
        return zukel::Fail(APR_EINVAL);
    }
    return zukel::MapStatus(platform::EndProcess(pid));
}

zuString kelProcess::GetLastError() {
    return lastError_;
}
