#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <utility>

#include "frame/StatusMapping.h"
#include "kelProcess.h"
#include "process/ProgramStart.h"
#include "process/kelProcessRecord.h"

namespace platform = zukel::platform;

namespace {

int MapWait(apr_status_t status) noexcept {
    return APR_STATUS_IS_TIMEUP(status) ? zukel::Fail(status, kelStatusTimedOut)
                                        : zukel::MapStatus(status);
}

platform::Deadline DeadlineIn(long long microSeconds) noexcept {
    using std::chrono::microseconds;
    const auto now = std::chrono::steady_clock::now();
    const auto most = std::chrono::duration_cast<microseconds>(platform::kNoDeadline - now);
    return microSeconds < 0 || microSeconds >= most.count() ? platform::kNoDeadline
                                                            : now + microseconds(microSeconds);
}

apr_status_t QueryEnd(const kelProcessRecord& record, platform::ChildEnd& end) noexcept {
    return record.Last() != nullptr ? platform::QueryEnd(*record.Last(), end) : APR_EPROC_UNKNOWN;
}

/// Reads what has arrived, or arrives, in one of the pipes.
int Read(kelProcessRecord& record, platform::FileHandle& pipe, zuString& kept,
         platform::Until until, void* buffer, unsigned long long& size) {
    if (kept.empty() && pipe) {
        platform::Transfer transfer{nullptr, 0, record.output, record.errors};
        const apr_status_t status =
            platform::Exchange(record.pipes, transfer, until, platform::kNoDeadline);
        if (status != APR_SUCCESS) {
            return zukel::Fail(status);
        }
    }
    const auto bytes = static_cast<std::size_t>(std::min<unsigned long long>(size, kept.size()));
    std::memcpy(buffer, kept.data(), bytes);
    kept.erase(0, bytes);
    size = bytes;
    return kelStatusOk;
}

/// A running program, which is terminated unless it has been waited for.
struct Running {
    platform::ChildHandle child;
    platform::Pipes pipes;
    bool waited = false;

    ~Running() {
        if (child != nullptr && !waited) {
            platform::EndGroup(*child);
            pipes = {};
            // Terminated, it ends now; if the system does not let it end, it is left behind.
            platform::WaitForEnd(*child, DeadlineIn(1000000));
        }
    }
};

}  // namespace

int kelProcess::Wait(long long microSeconds) {
    platform::Child* const child = record_->Last();
    return child != nullptr ? MapWait(platform::WaitForEnd(*child, DeadlineIn(microSeconds)))
                            : zukel::Fail(APR_EPROC_UNKNOWN);
}

int kelProcess::GetExitCode(int& code) const {
    platform::ChildEnd end;
    const apr_status_t status = QueryEnd(*record_, end);
    if (status != APR_SUCCESS || end.signal != 0) {
        return zukel::Fail(status != APR_SUCCESS ? status : APR_EINVAL);
    }
    code = end.code;
    return kelStatusOk;
}

int kelProcess::GetSignal(int& number) const {
    platform::ChildEnd end;
    const apr_status_t status = QueryEnd(*record_, end);
    if (status != APR_SUCCESS || end.signal == 0) {
        return zukel::Fail(status != APR_SUCCESS ? status : APR_EINVAL);
    }
    number = end.signal;
    return kelStatusOk;
}

int kelProcess::WriteInput(const void* buffer, unsigned long long size) {
    platform::Transfer transfer{static_cast<const char*>(buffer), static_cast<std::size_t>(size),
                                record_->output, record_->errors};
    return zukel::MapStatus(platform::Exchange(record_->pipes, transfer, platform::Until::Written,
                                               platform::kNoDeadline));
}

int kelProcess::CloseInput() {
    return zukel::MapStatus(record_->pipes.input ? platform::CloseFile(record_->pipes.input)
                                                 : APR_EBADF);
}

int kelProcess::ReadOutput(void* buffer, unsigned long long& size) {
    if (!record_->hasOutput) {
        return zukel::Fail(APR_EBADF);
    }
    return Read(*record_, record_->pipes.output, record_->output, platform::Until::OutputRead,
                buffer, size);
}

int kelProcess::ReadErrors(void* buffer, unsigned long long& size) {
    if (!record_->hasErrors) {
        return zukel::Fail(APR_EBADF);
    }
    return Read(*record_, record_->pipes.errors, record_->errors, platform::Until::ErrorsRead,
                buffer, size);
}

int kelProcess::Run(const kelProcessOptions& options, const zuString& input, zuString& output,
                    zuString& errors, int& exitCode, long long microSeconds) {
    const platform::Deadline deadline = DeadlineIn(microSeconds);
    kelProcessOptions piped = options;
    piped.input = piped.output = piped.errors = {kelProcessOptions::StreamPipe, {}};
    zuString told;
    zuString complained;
    Running running;
    apr_status_t status =
        zukel::StartProgram(piped, zukel::WithoutFile::Fails, true, running.child, running.pipes);
    if (status == APR_SUCCESS) {
        platform::Transfer transfer{input.data(), input.size(), told, complained};
        status = platform::Exchange(running.pipes, transfer, platform::Until::AllEnded, deadline);
    }
    if (status == APR_SUCCESS) {
        status = platform::WaitForEnd(*running.child, deadline);
        running.waited = status == APR_SUCCESS;
    }
    platform::ChildEnd end;
    if (status == APR_SUCCESS) {
        status = platform::QueryEnd(*running.child, end);
    }
    if (status != APR_SUCCESS) {
        return MapWait(status);
    }
    constexpr int kBySignal = 128;
    output = std::move(told);
    errors = std::move(complained);
    exitCode = end.signal != 0 ? kBySignal + end.signal : end.code;
    return kelStatusOk;
}
