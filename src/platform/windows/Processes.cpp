#include "platform/Processes.h"

#include <process.h>

#include <algorithm>
#include <string>

#include "platform/windows/Child.h"
#include "platform/windows/ProgramSearch.h"
#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

constexpr DWORD kLooking = PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE;

zuString WithSlashes(const std::wstring& path) {
    zuString text = ToUtf8(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

/// Opens the process with exactly this identifier. Identifiers are multiples of 4, and the system
/// ignores the two lowest bits.
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

bool IsProcessRunning(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);
    return process ? HandleRuns(process) : GetLastError() == ERROR_ACCESS_DENIED;
}

apr_status_t EndProcess(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);  // keeps the identifier from being used again
    if (process ? !HandleRuns(process) : GetLastError() != ERROR_ACCESS_DENIED) {
        return APR_EPROC_UNKNOWN;
    }
    const Handle ended(OpenProcess(PROCESS_TERMINATE, FALSE, static_cast<DWORD>(pid)));
    return ended && TerminateProcess(ended.Get(), 0) != 0 ? APR_SUCCESS : LastStatus();
}

apr_status_t QueryProgramPath(zuString& path) {
    std::wstring room(MAX_PATH, L'\0');
    for (;;) {
        const auto size = static_cast<DWORD>(room.size());
        const DWORD length = GetModuleFileNameW(nullptr, room.data(), size);
        if (length == 0) {
            return LastStatus();
        }
        if (length < size) {
            room.resize(length);
            path = WithSlashes(room);
            return APR_SUCCESS;
        }
        room.resize(2 * room.size());
    }
}

apr_status_t FindProgramFile(const char* name, zuString& path) {
    std::wstring wide;
    FoundProgram found;
    const apr_status_t status = ToWide(name, wide) ? FindProgram(wide, std::wstring(), found)
                                                   : SystemStatus(ERROR_FILE_NOT_FOUND);
    if (status == APR_SUCCESS) {
        path = WithSlashes(found.path);
    }
    return status;
}

int CurrentProcess() noexcept {
    return _getpid();
}

}  // namespace zukel::platform
