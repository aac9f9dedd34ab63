#include "platform/Processes.h"

#include <apr_file_info.h>
#include <apr_portable.h>
#include <apr_strings.h>
#include <apr_thread_proc.h>
#include <process.h>

#include <cstring>
#include <mutex>
#include <new>

#include "platform/windows/CommandLine.h"
#include "platform/windows/Handle.h"

namespace zukel::platform {

/// A child keeps its identifier from being used again for as long as its handle is open.
struct Child {
    explicit Child(const apr_proc_t& started) noexcept : process(started), handle(started.hproc) {}

    apr_proc_t process;
    Handle handle;
};

namespace {

constexpr int kSigTerm = 15;

/// The runtime makes the child's handles inheritable before it starts the child, and one that is
/// started at the same time would take them along.
std::mutex startLock;

bool HandleRuns(HANDLE process) noexcept {
    DWORD code = 0;
    // A program may end with the very code that stands for running.
    return GetExitCodeProcess(process, &code) != 0 && code == STILL_ACTIVE &&
           WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
}

/// Opens the process with exactly this identifier: the system takes three numbers behind one for it
/// as well.
Handle OpenByIdentifier(int pid) noexcept {
    const auto identifier = static_cast<DWORD>(pid);
    Handle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, identifier));
    if (process && GetProcessId(process.Get()) != identifier) {
        process.Close();
        SetLastError(ERROR_INVALID_PARAMETER);
    }
    return process;
}

/// The system would run a program in the caller's directory, or in none, for some that do not
/// exist.
apr_status_t CheckDirectory(const char* name, apr_pool_t* pool) noexcept {
    apr_finfo_t facts{};
    const apr_status_t status = apr_stat(&facts, name, APR_FINFO_TYPE, pool);
    return status == APR_SUCCESS && facts.filetype != APR_DIR ? APR_ENOTDIR : status;
}

/// A relative name with directories in it is meant from the child's working directory; the system
/// reads it from the caller's.
const char* ProgramName(const Program& program) noexcept {
    const char* const name = program.arguments[0];
    const char* root = nullptr;
    const char* rest = name;
    if (program.directory == nullptr || std::strpbrk(name, "/\\") == nullptr ||
        apr_filepath_root(&root, &rest, 0, program.pool) != APR_ERELATIVE) {
        return name;
    }
    return apr_pstrcat(program.pool, program.directory, "/", name, nullptr);
}

/// Gives a stream its file, or the device that takes everything.
apr_status_t Redirect(apr_status_t (*set)(apr_procattr_t*, apr_file_t*, apr_file_t*),
                      apr_procattr_t* attributes, apr_file_t* file, apr_pool_t* pool) noexcept {
    if (file == nullptr) {
        const apr_status_t status =
            apr_file_open(&file, "NUL", APR_FOPEN_WRITE, APR_FPROT_OS_DEFAULT, pool);
        return status == APR_SUCCESS ? set(attributes, file, nullptr) : status;
    }
    // The runtime goes to the end before it writes, which a child knows nothing of. A handle with
    // the right to append alone always writes there.
    constexpr DWORD kAppend = FILE_GENERIC_WRITE & ~static_cast<DWORD>(FILE_WRITE_DATA);
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    apr_os_file_t opened = nullptr;
    apr_os_file_get(&opened, file);
    const Handle appending(ReOpenFile(opened, kAppend | FILE_READ_ATTRIBUTES, kShared, 0));
    apr_file_t* narrowed = file;
    if (appending) {
        apr_os_file_t handle = appending.Get();
        apr_os_file_put(&narrowed, &handle, APR_FOPEN_WRITE, pool);
    }
    return set(attributes, narrowed, nullptr);  // which duplicates the handle
}

/// Everything but the start itself. The attributes live in the program's pool.
apr_status_t Prepare(const Program& program, apr_procattr_t*& attributes) noexcept {
    apr_status_t status = APR_SUCCESS;
    const auto then = [&status](apr_status_t next) { return (status = next) == APR_SUCCESS; };
    if (program.directory != nullptr && !then(CheckDirectory(program.directory, program.pool))) {
        return status;
    }
    if (then(apr_procattr_create(&attributes, program.pool)) &&
        then(apr_procattr_cmdtype_set(attributes, APR_PROGRAM_PATH)) &&
        then(apr_procattr_detach_set(attributes, program.detach ? 1 : 0)) &&
        (program.directory == nullptr ||
         then(apr_procattr_dir_set(attributes, program.directory))) &&
        then(Redirect(apr_procattr_child_out_set, attributes, program.output, program.pool))) {
        then(Redirect(apr_procattr_child_err_set, attributes, program.error, program.pool));
    }
    return status;
}

}  // namespace

void Forget(Child* child) noexcept {
    delete child;
}

apr_status_t Launch(const Program& program, ChildHandle& child) {
    if (!IsProgramName(program.arguments[0])) {
        return APR_FROM_OS_ERROR(ERROR_FILE_NOT_FOUND);
    }
    const CommandLine arguments(program.arguments);
    ChildHandle made(new Child(apr_proc_t{}));
    const std::lock_guard<std::mutex> lock(startLock);
    apr_procattr_t* attributes = nullptr;
    apr_status_t status = Prepare(program, attributes);
    if (status == APR_SUCCESS) {
        apr_proc_t process{};
        status = apr_proc_create(&process, ProgramName(program), arguments.Get(), nullptr,
                                 attributes, program.pool);
        if (status == APR_SUCCESS) {
            *made = Child(process);
            child = std::move(made);
        }
    }
    return status;
}

int Identifier(const Child& child) noexcept {
    return static_cast<int>(child.process.pid);
}

bool IsRunning(Child& child) noexcept {
    return HandleRuns(child.handle.Get());
}

apr_status_t End(Child& child) noexcept {
    return IsRunning(child) ? apr_proc_kill(&child.process, kSigTerm) : APR_EPROC_UNKNOWN;
}

bool IsProcessRunning(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);
    return process ? HandleRuns(process.Get()) : GetLastError() == ERROR_ACCESS_DENIED;
}

bool EndProcess(int pid) noexcept {
    const Handle process = OpenByIdentifier(pid);
    return process && HandleRuns(process.Get()) && TerminateProcess(process.Get(), 0) != 0;
}

int CurrentProcess() noexcept {
    return _getpid();
}

}  // namespace zukel::platform
