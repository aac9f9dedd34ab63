#include "platform/linux/Spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/Descriptor.h"
#include "platform/linux/Repetition.h"
#include "platform/linux/SystemCall.h"

namespace zukel::platform {

namespace {

/// What the child does before it executes the program. After the first failed call the others are
/// not made, and its result is the error.
class Preparation {
public:
    Preparation() noexcept
        : haveActions_(Try(posix_spawn_file_actions_init(&actions_))),
          haveAttributes_(Try(posix_spawnattr_init(&attributes_))) {}
    ~Preparation() {
        if (haveActions_) {
            posix_spawn_file_actions_destroy(&actions_);
        }
        if (haveAttributes_) {
            posix_spawnattr_destroy(&attributes_);
        }
    }
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    /// Of the first call that failed, or 0.
    int Error() const noexcept { return error_; }
    const posix_spawn_file_actions_t* Actions() const noexcept { return &actions_; }
    const posix_spawnattr_t* Attributes() const noexcept { return &attributes_; }

    /// Sets the child's streams.
    void Redirect(const Program& program) noexcept {
        const Stream& output = program.output;
        const Stream& error = program.error;
        Redirect(STDIN_FILENO, program.input, O_RDONLY, movedInput_);
        Redirect(STDOUT_FILENO, output, O_WRONLY, movedOutput_);
        if (error.kind != output.kind || error.kind == Stream::Kind::Inherited ||
            (error.kind == Stream::Kind::File && error.file != output.file)) {
            Redirect(STDERR_FILENO, error, O_WRONLY, movedError_);
        } else if (error_ == 0) {
            Try(posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO));
        }
    }

    void ChangeDirectory(const char* directory) noexcept {
        if (error_ == 0 && directory != nullptr) {
            Try(posix_spawn_file_actions_addchdir_np(&actions_, directory));
        }
    }

    /// A session has a group of its own. The group's id is the child's pid, which is the default.
    void SetAttributes(bool detach, bool group) noexcept {
        const int own = detach ? POSIX_SPAWN_SETSID : group ? POSIX_SPAWN_SETPGROUP : 0;
        const int flags = POSIX_SPAWN_SETSIGDEF | own;
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        if (error_ == 0 && Try(posix_spawnattr_setflags(&attributes_, static_cast<short>(flags)))) {
            Try(posix_spawnattr_setsigdefault(&attributes_, &signals));
        }
    }

private:
    /// Sets the file of a stream. Discarded output goes to /dev/null: a pipe that nobody reads
    /// would block its writer and then kill it, and the caller's streams may be such pipes.
    void Redirect(int stream, const Stream& to, int mode, Descriptor& moved) noexcept {
        if (error_ != 0 || to.kind == Stream::Kind::Inherited) {
            return;
        }
        if (to.kind == Stream::Kind::Nothing) {
            Try(posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", mode, 0));
            return;
        }
        auto source = static_cast<int>(to.file->Get());
        if (source <= STDERR_FILENO) {
            // The caller has closed a standard stream, and the file has its number: move the file
            // before the child's streams are set.
            moved = Descriptor(fcntl(source, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            source = moved.Get();
        }
        if (Try(source >= 0 ? 0 : errno)) {
            Try(posix_spawn_file_actions_adddup2(&actions_, source, stream));
        }
    }

    bool Try(int error) noexcept {
        if (error_ == 0) {
            error_ = error;
        }
        return error == 0;
    }

    int error_ = 0;
    Descriptor movedInput_;
    Descriptor movedOutput_;
    Descriptor movedError_;
    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
    bool haveActions_;
    bool haveAttributes_;
};

using Arguments = const char* const*;

char* const* ForSystem(Arguments arguments) noexcept {
    return const_cast<char* const*>(arguments);  // the C interface's type; it writes nothing
}

/// Whether the file can be a script: a program for another machine has a NUL in its first line.
bool CanBeScript(const char* directory, const std::string& name) {
    const bool below = name[0] != '/' && directory != nullptr;
    const std::string path = below ? std::string(directory) + "/" + name : name;
    const Descriptor file(Uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    char start[256];
    const ssize_t size =
        file ? Uninterrupted([&] { return read(file.Get(), start, sizeof start); }) : 0;
    const std::string_view text(start, size > 0 ? static_cast<std::size_t>(size) : 0);
    return text.substr(0, text.find('\n')).find('\0') == std::string_view::npos;
}

/// Starts a program, and retries while its file is busy (ETXTBSY), for 127 ms at most: a child of
/// another thread inherits the descriptor by which the file is written, and holds it until its own
/// exec.
template <typename Start>
int WhileBusy(Start start) noexcept {
    return Repeated(7, start, [](int error) { return error == ETXTBSY; });
}

/// Runs a script without an interpreter line by the shell, as `execvp` does. `posix_spawnp` does
/// not report where it found it, so it is searched for again.
int SpawnByShell(Arguments arguments, const char* directory, char* const* environment,
                 const Preparation& preparation, pid_t& pid) {
    constexpr const char* kShell = "/bin/sh";
    for (const std::string& candidate : Candidates(arguments[0])) {
        const int error = WhileBusy([&] {
            return posix_spawn(&pid, candidate.c_str(), preparation.Actions(),
                               preparation.Attributes(), ForSystem(arguments), environment);
        });
        if (error == ENOEXEC && CanBeScript(directory, candidate)) {
            const std::string script = candidate[0] == '-' ? "./" + candidate : candidate;
            std::vector<const char*> vector{kShell, script.c_str()};
            do {
                vector.push_back(*++arguments);
            } while (*arguments != nullptr);
            return posix_spawn(&pid, kShell, preparation.Actions(), preparation.Attributes(),
                               ForSystem(vector.data()), environment);
        }
        if (error == 0 || error == ENOEXEC || error == ETXTBSY) {
            return error;
        }
    }
    return ENOEXEC;
}

}  // namespace

std::vector<std::string> Candidates(const char* command) {
    if (std::strchr(command, '/') != nullptr) {
        return {command};
    }
    const char* const variable = std::getenv("PATH");
    const std::string_view path = variable != nullptr ? variable : "/bin:/usr/bin";
    std::vector<std::string> candidates;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find(':', start), path.size());
        const std::string_view directory = path.substr(start, end - start);
        candidates.emplace_back(directory.empty() ? "." : directory).append("/").append(command);
        start = end + 1;
    }
    return candidates;
}

int Spawn(const Program& program, pid_t& pid) {
    Preparation preparation;
    preparation.Redirect(program);
    preparation.ChangeDirectory(program.directory);
    preparation.SetAttributes(program.detach, program.group);
    char* const* const environment =
        program.environment != nullptr ? ForSystem(program.environment) : environ;
    if (preparation.Error() != 0) {
        return preparation.Error();
    }
    const int error = WhileBusy([&] {
        return posix_spawnp(&pid, program.arguments[0], preparation.Actions(),
                            preparation.Attributes(), ForSystem(program.arguments), environment);
    });
    return error == ENOEXEC
               ? SpawnByShell(program.arguments, program.directory, environment, preparation, pid)
               : error;
}

}  // namespace zukel::platform
