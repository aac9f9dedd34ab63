#include <algorithm>
#include <atomic>
#include <cwchar>
#include <iterator>
#include <memory>

#include "platform/Pipes.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

constexpr DWORD kRoom = 65536;

HANDLE HandleOf(const FileHandle& file) noexcept {
    return reinterpret_cast<HANDLE>(file.Get());
}

bool IsClosed(DWORD error) noexcept {
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ||
           error == ERROR_PIPE_NOT_CONNECTED || error == ERROR_HANDLE_EOF;
}

/// An overlapped transfer of a pipe. The destructor cancels it and waits for its end, after which
/// the system no longer uses the buffer.
class Operation {
public:
    explicit Operation(FileHandle& pipe) noexcept
        : pipe_(pipe), event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Operation() { Stop(); }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    explicit operator bool() const noexcept { return static_cast<bool>(event_); }
    bool IsUnderWay() const noexcept { return underWay_; }
    HANDLE Event() const noexcept { return event_.Get(); }

    /// Starts a transfer by `call`. If the other end of the pipe is closed, closes this one.
    template <typename Call>
    DWORD Begin(Call call) noexcept {
        state_ = {};
        state_.hEvent = event_.Get();
        if (call(HandleOf(pipe_), &state_) != 0 || GetLastError() == ERROR_IO_PENDING) {
            underWay_ = true;
            return ERROR_SUCCESS;
        }
        return Close(GetLastError());
    }

    /// Waits for its end.
    ///
    /// @param size receives how many bytes were transferred.
    DWORD Finish(DWORD& size) noexcept {
        underWay_ = false;
        size = 0;
        return GetOverlappedResult(HandleOf(pipe_), &state_, &size, TRUE) != 0
                   ? ERROR_SUCCESS
                   : Close(GetLastError());
    }

    /// Cancels it, and returns how many bytes it had transferred.
    DWORD Stop() noexcept {
        DWORD size = 0;
        if (underWay_) {
            CancelIoEx(HandleOf(pipe_), &state_);
            Finish(size);
        }
        return size;
    }

private:
    DWORD Close(DWORD error) noexcept {
        if (!IsClosed(error)) {
            return error;
        }
        CloseFile(pipe_);
        return ERROR_SUCCESS;
    }

    FileHandle& pipe_;
    Handle event_;
    OVERLAPPED state_{};
    bool underWay_ = false;
};

/// One of the outputs, which is appended to a text.
class Reader {
public:
    Reader(FileHandle& pipe, zuString& text)
        : pipe_(pipe), text_(text), room_(new char[kRoom]), operation_(pipe) {}

    Operation& It() noexcept { return operation_; }
    DWORD Begin() noexcept {
        return !pipe_ || operation_.IsUnderWay()
                   ? ERROR_SUCCESS
                   : operation_.Begin([this](HANDLE pipe, OVERLAPPED* state) {
                         return ReadFile(pipe, room_.get(), kRoom, nullptr, state);
                     });
    }
    DWORD Finish() {
        DWORD size = 0;
        const DWORD error = operation_.Finish(size);
        text_.append(room_.get(), size);
        return error;
    }
    void Stop() { text_.append(room_.get(), operation_.Stop()); }

private:
    FileHandle& pipe_;
    zuString& text_;
    std::unique_ptr<char[]> room_;
    Operation operation_;
};

/// The input.
class Writer {
public:
    Writer(FileHandle& pipe, Transfer& transfer) noexcept
        : pipe_(pipe), transfer_(transfer), operation_(pipe) {}

    Operation& It() noexcept { return operation_; }
    DWORD Begin() noexcept {
        if (!pipe_ || transfer_.size == 0 || operation_.IsUnderWay()) {
            return ERROR_SUCCESS;
        }
        const auto size = static_cast<DWORD>(std::min<std::size_t>(transfer_.size, kRoom));
        return operation_.Begin([this, size](HANDLE pipe, OVERLAPPED* state) {
            return WriteFile(pipe, transfer_.source, size, nullptr, state);
        });
    }
    DWORD Finish() noexcept {
        DWORD size = 0;
        const DWORD error = operation_.Finish(size);
        transfer_.source += size;
        transfer_.size -= size;
        return error;
    }

private:
    FileHandle& pipe_;
    Transfer& transfer_;
    Operation operation_;
};

/// Waits until a transfer has ended, and finishes those that have.
DWORD Step(Writer& input, Reader& output, Reader& errors, int milliSeconds) {
    HANDLE events[3];
    DWORD count = 0;
    for (const Operation* each : {&input.It(), &output.It(), &errors.It()}) {
        if (each->IsUnderWay()) {
            events[count++] = each->Event();
        }
    }
    if (count == 0) {
        return ERROR_SUCCESS;  // a pipe was closed just now
    }
    const DWORD waited =
        WaitForMultipleObjects(count, events, FALSE, static_cast<DWORD>(milliSeconds));
    if (waited == WAIT_FAILED) {
        return GetLastError();
    }
    const auto isThrough = [](const Operation& each) {
        return each.IsUnderWay() && WaitForSingleObject(each.Event(), 0) == WAIT_OBJECT_0;
    };
    DWORD error = isThrough(input.It()) ? input.Finish() : DWORD{ERROR_SUCCESS};
    if (error == ERROR_SUCCESS && isThrough(output.It())) {
        error = output.Finish();
    }
    if (error == ERROR_SUCCESS && isThrough(errors.It())) {
        error = errors.Finish();
    }
    return error;
}

std::atomic<unsigned> pipesMade{0};

}  // namespace

apr_status_t MakePipe(bool write, FileHandle& own, FileHandle& child) noexcept {
    // Anonymous pipes have no overlapped transfers. No other process can connect in between: there
    // is one instance of this name (FILE_FLAG_FIRST_PIPE_INSTANCE), and it has one client.
    wchar_t name[64];
    std::swprintf(name, std::size(name), L"\\\\.\\pipe\\zukel-%lu-%u-%lu", GetCurrentProcessId(),
                  pipesMade.fetch_add(1), GetTickCount());
    const DWORD direction = write ? PIPE_ACCESS_OUTBOUND : PIPE_ACCESS_INBOUND;
    Handle server(
        CreateNamedPipeW(name, direction | FILE_FLAG_FIRST_PIPE_INSTANCE | FILE_FLAG_OVERLAPPED,
                         PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, kRoom, kRoom, 0, nullptr));
    if (!server) {
        return LastStatus();
    }
    Handle client(CreateFileW(name, write ? GENERIC_READ : GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!client) {
        return LastStatus();
    }
    own = FileHandle(reinterpret_cast<FileHandle::Native>(server.Release()));
    child = FileHandle(reinterpret_cast<FileHandle::Native>(client.Release()));
    return APR_SUCCESS;
}

apr_status_t Exchange(Pipes& pipes, Transfer& transfer, Until until, Deadline deadline) {
    Writer input(pipes.input, transfer);
    Reader output(pipes.output, transfer.output);
    Reader errors(pipes.errors, transfer.errors);
    if (!input.It() || !output.It() || !errors.It()) {
        return LastStatus();
    }
    apr_status_t status = APR_SUCCESS;
    while (status == APR_SUCCESS && !IsDone(pipes, transfer, until)) {
        const int left = MilliSecondsTo(deadline);
        if (left == 0) {
            status = APR_TIMEUP;
            break;
        }
        DWORD error = input.Begin();
        error = error == ERROR_SUCCESS ? output.Begin() : error;
        error = error == ERROR_SUCCESS ? errors.Begin() : error;
        error = error == ERROR_SUCCESS ? Step(input, output, errors, left) : error;
        status = SystemStatus(error);
    }
    output.Stop();
    errors.Stop();
    return status == APR_SUCCESS && until == Until::Written && transfer.size > 0
               ? SystemStatus(ERROR_BROKEN_PIPE)
               : status;
}

}  // namespace zukel::platform
