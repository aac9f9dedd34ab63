#include <algorithm>
#include <cwchar>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/Children.h"
#include "platform/windows/Child.h"
#include "platform/windows/CommandLine.h"
#include "platform/windows/OpenFile.h"
#include "platform/windows/ProgramSearch.h"

namespace zukel::platform {

namespace {

/// A duplicate that a child can inherit; none for none.
Handle Inheritable(HANDLE handle) noexcept {
    const HANDLE self = GetCurrentProcess();
    HANDLE copy = nullptr;
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE ||
        DuplicateHandle(self, handle, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS) == 0) {
        return Handle();
    }
    return Handle(copy);
}

/// The null device.
Handle Nowhere() noexcept {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return Handle(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, kShareAll, &inherited,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// The standard streams of a child, as inheritable handles.
class Streams {
public:
    explicit Streams(const Program& program) noexcept
        : hasInput_(program.input.kind != Stream::Kind::Inherited),
          shared_(program.error.kind == program.output.kind &&
                  program.error.kind != Stream::Kind::Inherited &&
                  program.error.file == program.output.file),
          input_(Open(program.input, STD_INPUT_HANDLE)),
          output_(Open(program.output, STD_OUTPUT_HANDLE)),
          error_(shared_ ? Handle() : Open(program.error, STD_ERROR_HANDLE)) {}

    explicit operator bool() const noexcept {
        return output_ && (shared_ || error_) && (!hasInput_ || input_);
    }

    void PutInto(STARTUPINFOW& start) const noexcept {
        start.dwFlags |= STARTF_USESTDHANDLES;
        start.hStdInput = input_.Get();
        start.hStdOutput = output_.Get();
        start.hStdError = shared_ ? output_.Get() : error_.Get();
    }

    /// Each handle once.
    std::vector<HANDLE> List() const {
        std::vector<HANDLE> list = {output_.Get()};
        for (const Handle* const each : {&input_, &error_}) {
            if (*each) {
                list.push_back(each->Get());
            }
        }
        return list;
    }

private:
    /// If the caller has no such stream itself, an output goes to the null device.
    static Handle Open(const Stream& stream, DWORD own) noexcept {
        switch (stream.kind) {
            case Stream::Kind::Inherited: {
                Handle inherited = Inheritable(GetStdHandle(own));
                return inherited || own == STD_INPUT_HANDLE ? std::move(inherited) : Nowhere();
            }
            case Stream::Kind::File:
                return Inheritable(reinterpret_cast<HANDLE>(stream.file->Get()));
            default:
                return Nowhere();
        }
    }

    bool hasInput_;
    bool shared_;
    Handle input_;
    Handle output_;
    Handle error_;
};

/// The list of the only handles that a child inherits.
class InheritedHandles {
public:
    explicit InheritedHandles(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        room_.resize(size);
        made_ = InitializeProcThreadAttributeList(Get(), 1, 0, &size) != 0;
        filled_ = made_ && UpdateProcThreadAttribute(
                               Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                               handles_.size() * sizeof(HANDLE), nullptr, nullptr) != 0;
    }
    ~InheritedHandles() {
        if (made_) {
            DeleteProcThreadAttributeList(Get());
        }
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    explicit operator bool() const noexcept { return filled_; }
    LPPROC_THREAD_ATTRIBUTE_LIST Get() noexcept {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room_.data());
    }

private:
    std::vector<HANDLE> handles_;
    std::vector<char> room_;
    bool made_ = false;
    bool filled_ = false;
};

/// Checks the working directory, and makes it absolute: `CreateProcessW` accepts some that do not
/// exist, and starts the program in another one.
apr_status_t CheckDirectory(const char* name, std::wstring& directory) {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    const FileId found = Identify(wide.Get(), Symlinks::Follow);
    if (!found.known) {
        return LastStatus();
    }
    directory = AbsoluteName(wide.Get());
    return (found.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? APR_SUCCESS : APR_ENOTDIR;
}

/// The environment block of the system: sorted variables, each with a NUL, and a further NUL.
bool MakeEnvironment(const char* const* variables, std::wstring& block) {
    std::vector<std::wstring> wide;
    for (; *variables != nullptr; ++variables) {
        if (!ToWide(*variables, wide.emplace_back())) {
            return false;
        }
    }
    std::sort(wide.begin(), wide.end(), [](const std::wstring& one, const std::wstring& other) {
        return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    });
    block.clear();
    for (const std::wstring& each : wide) {
        block.append(each).push_back(L'\0');
    }
    block.append(wide.empty() ? 2 : 1, L'\0');
    return true;
}

/// Assigns a suspended process to a job of its own, and resumes it. Terminates it if that fails.
apr_status_t RunInJob(Child& child, HANDLE thread) noexcept {
    child.job = Handle(CreateJobObjectW(nullptr, nullptr));
    if (!child.job || AssignProcessToJobObject(child.job.Get(), child.process.Get()) == 0 ||
        ResumeThread(thread) == static_cast<DWORD>(-1)) {
        const apr_status_t status = LastStatus();
        TerminateProcess(child.process.Get(), 0);
        return status;
    }
    return APR_SUCCESS;
}

bool ReadArguments(const char* const* arguments, std::vector<std::wstring>& wide) {
    for (; *arguments != nullptr; ++arguments) {
        if (!ToWide(*arguments, wide.emplace_back())) {
            return false;
        }
    }
    return true;
}

/// Starts the program `path` with the command line.
apr_status_t Create(const std::wstring& path, std::wstring& line, const std::wstring& directory,
                    const Program& program, Child& child) {
    const WideName image(path.c_str());
    const Streams streams(program);
    if (!image || !streams) {
        return image ? LastStatus() : image.Status();
    }
    std::wstring environment;
    if (program.environment != nullptr && !MakeEnvironment(program.environment, environment)) {
        return SystemStatus(ERROR_NO_UNICODE_TRANSLATION);
    }
    InheritedHandles inherited(streams.List());
    if (!inherited) {
        return LastStatus();
    }
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.lpAttributeList = inherited.Get();
    streams.PutInto(start.StartupInfo);
    DWORD flags = EXTENDED_STARTUPINFO_PRESENT | CREATE_UNICODE_ENVIRONMENT;
    if (program.detach) {
        flags |= DETACHED_PROCESS;
        start.StartupInfo.dwFlags |= STARTF_USESHOWWINDOW;
        start.StartupInfo.wShowWindow = SW_HIDE;
    }
    if (program.group) {
        flags |= CREATE_SUSPENDED;
    }
    PROCESS_INFORMATION made{};
    if (CreateProcessW(image.Get(), line.data(), nullptr, nullptr, TRUE, flags,
                       program.environment != nullptr ? environment.data() : nullptr,
                       directory.empty() ? nullptr : directory.c_str(), &start.StartupInfo,
                       &made) == 0) {
        return LastStatus();
    }
    const Handle thread(made.hThread);
    child.process = Handle(made.hProcess);
    child.identifier = made.dwProcessId;
    return program.group ? RunInJob(child, thread.Get()) : APR_SUCCESS;
}

}  // namespace

apr_status_t Launch(const Program& program, ChildHandle& child) {
    std::vector<std::wstring> arguments;
    std::wstring directory;
    FoundProgram found;
    ChildHandle made(new Child);
    if (!ReadArguments(program.arguments, arguments)) {
        return SystemStatus(arguments.size() == 1 ? ERROR_FILE_NOT_FOUND
                                                  : ERROR_NO_UNICODE_TRANSLATION);
    }
    apr_status_t status = APR_SUCCESS;
    if (program.directory != nullptr) {
        status = CheckDirectory(program.directory, directory);
    }
    if (status == APR_SUCCESS) {
        status = FindProgram(arguments.front(), directory, found);
    }
    if (status != APR_SUCCESS) {
        return status;
    }
    std::wstring line;
    std::wstring image = found.path;
    if (!found.batch) {
        line = CommandLine(arguments);
    } else {
        image = CommandInterpreter();
        if (!BatchCommandLine(image, found.path, arguments, line)) {
            return SystemStatus(ERROR_BAD_ARGUMENTS);
        }
    }
    status = Create(image, line, directory, program, *made);
    if (status == APR_SUCCESS) {
        child = std::move(made);
    }
    return status;
}

}  // namespace zukel::platform
