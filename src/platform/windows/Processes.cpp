#include "platform/Processes.h"

#include <process.h>

#include "platform/windows/Child.h"

namespace zukel::platform {

namespace {

constexpr DWORD kLooking = PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE;

bool HandleRuns(const Handle& process) noexcept {
    DWORD code = 0;
    // A program may end with the very code that stands for running.
    return GetExitCodeProcess(process.Get(), &code) != 0 && code == STILL_ACTIVE &&
           WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

/// Opens the process with exactly this identifier: the system takes three numbers behind one for it
/// as well.
Handle OpenByIdentifier(int pid) noexcept {
    const auto identifier = static_cast<DWORD>(pid);
    Handle process(OpenProcess(kLooking, FALSE, identifier));
    if (process && GetProcessId(process.Get()) != identifier) {
        process.Close();
        SetLastError(ERROR_INVALID_PARAMETER);
    }
    return process;
}

}  // namespace

void Forget(Child* child) noexcept {
    delete child;
}

int Identifier(const Child& child) noexcept {
    return static_cast<int>(child.identifier);
}

bool IsRunning(Child& child) noexcept {
    return HandleRuns(child.process);
}

apr_status_t End(Child& child) noexcept {
    constexpr UINT kExitCode = 15;  // the number of SIGTERM
    if (!IsRunning(child)) {
        return APR_EPROC_UNKNOWN;
    }
    return TerminateProcess(child.process.Get(), kExitCode) != 0 ? APR_SUCCESS : apr_get_os_error();
}

apr_status_t WaitForEnd(Child& child, Deadline deadline) noexcept {
    for (;;) {
        const int left = MilliSecondsTo(deadline);
        switch (WaitForSingleObject(child.process.Get(), static_cast<DWORD>(left))) {
            case WAIT_OBJECT_0:
                return APR_SUCCESS;
            case WAIT_TIMEOUT:
                if (left == 0) {
                    return APR_TIMEUP;
                }
                break;
            default:
                return apr_get_os_error();
        }
    }
}

apr_status_t QueryEnd(Child& child, ChildEnd& end) noexcept {
    DWORD code = 0;
    if (HandleRuns(child.process)) {
        return APR_FROM_OS_ERROR(ERROR_BUSY);
    }
    if (GetExitCodeProcess(child.process.Get(), &code) == 0) {
        return apr_get_os_error();
    }
    end = {true, static_cast<int>(code), 0};
    return APR_SUCCESS;
}

void EndGroup(Child& child) noexcept {
    constexpr UINT kExitCode = 9;  // the number of SIGKILL
    if (child.job) {
        TerminateJobObject(child.job.Get(), kExitCode);
    }
}

bool IsProcessRunning(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);
    return process ? HandleRuns(process) : GetLastError() == ERROR_ACCESS_DENIED;
}

bool EndProcess(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);  // held until the end, and with it the identifier
    if (process ? !HandleRuns(process) : GetLastError() != ERROR_ACCESS_DENIED) {
        return false;
    }
    const Handle ended(OpenProcess(PROCESS_TERMINATE, FALSE, static_cast<DWORD>(pid)));
    return ended && TerminateProcess(ended.Get(), 0) != 0;
}

int CurrentProcess() noexcept {
    return _getpid();
}

}  // namespace zukel::platform
