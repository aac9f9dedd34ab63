#include "platform/Children.h"

#include "platform/windows/Child.h"
#include "platform/windows/System.h"

namespace zukel::platform {

bool HandleRuns(const Handle& process) noexcept {
    DWORD code = 0;
    // A program may end with the exit code STILL_ACTIVE (259).
    return GetExitCodeProcess(process.Get(), &code) != 0 && code == STILL_ACTIVE &&
           WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

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
    return TerminateProcess(child.process.Get(), kExitCode) != 0 ? APR_SUCCESS : LastStatus();
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
                return LastStatus();
        }
    }
}

apr_status_t QueryEnd(Child& child, ChildEnd& end) noexcept {
    DWORD code = 0;
    if (HandleRuns(child.process)) {
        return SystemStatus(ERROR_BUSY);
    }
    if (GetExitCodeProcess(child.process.Get(), &code) == 0) {
        return LastStatus();
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

}  // namespace zukel::platform
