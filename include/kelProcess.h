#pragma once

#include "kelExport.h"
#include "kelProcessOptions.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelProcessRecord;

/// A child process: started, fed, read, waited for and ended. To start a program, collect its
/// output and learn its exit code in one call, there is `Run`.
///
/// | State   | `GetPid`   | `IsRunning`   | `Kill`            | entered by                        |
/// |---------|------------|---------------|-------------------|-----------------------------------|
/// | idle    | -1         | false         | `kelStatusFailed` | construction, failed start, kill  |
/// | started | identifier | until it ends | ends it           | a start that succeeded            |
///
/// `Start` is allowed in both states. A child that the object forgets, by another `Start`, by
/// `Kill` or by being destroyed, runs on: it is neither ended nor waited for. `GetPid` keeps the
/// identifier after the child has ended.
///
/// Linux: the object stands for the process, not for its number: it never signals another process
/// that got the number later. For that it holds a descriptor while the process runs; before Linux
/// 6.9 a forgotten child keeps it until it ends.
///
/// Linux: children that have ended are collected by later starts, kills and ends of objects of this
/// class, whichever those are, up to 32 at each, and by `Wait`; until then they are zombies. No
/// other child of the program is ever collected, so it can wait for its own. It may even collect
/// all of them
/// (`waitpid(-1)`, SIGCHLD ignored): a child of this class then counts as ended, and how it has
/// ended cannot be told. Before Linux 5.4,
/// and where a sandbox refuses process descriptors or signals by them, a child is known by its
/// number alone, and the program should leave the collecting of these children to this class.
///
/// Failure: no operation throws but for `std::bad_alloc`.
///
/// Threads: one object is used by one thread at a time; different objects are independent. The
/// static operations may be called from any thread. Linux: the copy of an object that `fork` makes
/// may ask and kill, unless another thread was in an operation of this class at that moment. No
/// operation is a cancellation point of `pthread_cancel`.
///
/// @code
/// kelProcess process;
/// if (process.Start("sort", {"-u", "names.txt"}, "", {"sorted.txt", "errors.txt"}, false) !=
///     kelStatusOk) {
///     std::fprintf(stderr, "sort: %s\n", process.GetLastError().c_str());
///     return 1;
/// }
/// while (process.IsRunning()) {
///     kelTime::Sleep(1000);  // or do something else
/// }
/// std::puts(kelFile::Exists("sorted.txt") ? "sorted" : "no output");  // prints: sorted
/// @endcode
class KEL_API kelProcess {
public:
    /// Makes an idle object. Throws `std::bad_alloc` without memory.
    kelProcess();
    /// Shares the process of `other` and copies its last error text: what is started or killed
    /// through one object is so for both.
    kelProcess(const kelProcess& other);
    /// Forgets the process, which runs on.
    ~kelProcess();
    /// As the copy constructor; the process that this object held alone is forgotten.
    kelProcess& operator=(const kelProcess& other);

    /// Starts the program `command` and returns as soon as it runs.
    ///
    /// @param command one program name, not split into words. Without a `/` it is looked for along
    /// the search path (Linux: `$PATH`), with one it is a path. Linux: a relative path, also one in
    /// the search path, starts at the child's working directory; a script without an interpreter
    /// line is run by `/bin/sh`. Windows: a name without `/`, `\` and `:` is looked for in the
    /// system's directories and then along the absolute entries of `%PATH%`, never in the current
    /// directory. A name that does not end in one of them gets `.com`, `.exe`, `.bat` or `.cmd`.
    /// @param arguments what the program gets after its own name, each unchanged: nothing is quoted
    /// or split. Linux: any bytes but NUL, each below 128 KiB. Windows: UTF-8, all of them together
    /// below 32 KiB; written as the C library of the child reads them. A batch file (`.bat`,
    /// `.cmd`, also with dots and spaces behind) runs under the system's `cmd.exe` and gets each
    /// argument in quotation marks, in which that leaves everything as it is but `"`, `%` and the
    /// ends of lines: with one of these in an argument or in its own name the start fails, and so
    /// it does beyond 8191 characters. What a script makes of an argument that it takes out of the
    /// marks
    /// (`%~1`), or expands a second time, is its own affair.
    /// @param directory the child's working directory; empty: the caller's.
    /// @param outputFiles where the child's output goes: element 0 takes standard output and
    /// element 1 standard error; a single name, or the same name twice, takes both in the order
    /// written. Further elements are not looked at. A file is made if need be, relative to the
    /// caller's current directory, and appended to; a named pipe holds up the start until it has a
    /// reader. A stream without a file, or whose file cannot be opened, goes nowhere: the child may
    /// write any amount to it. Linux: that needs `/dev/null`, without which the start fails. A name
    /// with a NUL in it cannot be opened.
    /// @param detach Linux: true puts the child in a session of its own, so that it has no terminal
    /// and outlives the caller's. Nothing else depends on it, and it has nothing to do with
    /// waiting.
    ///
    /// The child inherits the caller's environment, standard input and, on Linux, signal mask and
    /// ignored signals, but SIGCHLD has its default action in it; no other descriptor of this
    /// library reaches it.
    ///
    /// Linux: a program that somebody is writing cannot be run. `Start` waits up to 127 ms for it:
    /// a child that another thread starts can hold the file of a program just written for a moment.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` when the program cannot be found or run, when the
    /// working directory cannot be entered, and when `command`, `directory` or an argument has a
    /// NUL in it: the reason is in `GetLastError`, there is no child, and the object is idle.
    int Start(const zuString& command, const zuStlVector<zuString>& arguments,
              const zuString& directory, const zuStlVector<zuString>& outputFiles, bool detach);

    /// @name Shorter forms of Start, with empty values for what they lack
    /// A text or any other pointer in the place of `detach` does not compile.
    /// @{

    /// As the full form; what is not given is empty.
    int Start(const zuString& command, const zuStlVector<zuString>& arguments,
              const zuString& directory, bool detach);
    int Start(const zuString& command, const zuStlVector<zuString>& arguments, bool detach);
    int Start(const zuString& command, bool detach);
    /// Starts a program as the record tells. Unlike the forms above: a stream whose file cannot be
    /// opened fails the start, and so does a name of a variable that is empty or has a `=` in it,
    /// and a NUL in any text.
    int Start(const kelProcessOptions& options);
    template <typename T>
    int Start(const zuString&, const zuStlVector<zuString>&, const zuString&, T*) = delete;
    template <typename T>
    int Start(const zuString&, const zuStlVector<zuString>&, T*) = delete;
    template <typename T>
    int Start(const zuString&, T*) = delete;
    /// @}

    /// Whether the started process runs. One that has ended does not, whether or not anybody has
    /// collected it.
    bool IsRunning() const;
    /// Whether any process with this identifier runs, a child or not; false for 0 and below.
    static bool IsRunning(int pid);

    /// The identifier of the started process, or -1.
    int GetPid() const;
    /// The identifier of the calling process.
    static int GetCurrentProcessPid();

    /// Ends the started process and forgets it: the object is idle afterwards, also when this
    /// fails. Linux: sends SIGTERM, which the process may handle or ignore. Windows: gives it no
    /// choice.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` when the process could not be ended or had ended
    /// already, with the reason in `GetLastError`, and when the object was idle, without a text.
    int Kill();

    /// Ends the process with this identifier, whoever started it, without giving it a choice
    /// (Linux: SIGKILL). No object changes.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` when there is no such process or it may not be
    /// ended. For 0 and below nothing is signalled.
    static int NativeKill(int pid);

    /// @name The end of the process
    /// They answer for the process that this object or a copy has started last, also after `Kill`.
    /// Any number of threads may wait, each with an object of its own (copies of one another too).
    /// @{

    /// Waits until the process has ended. It does not read the process's pipes: a process that
    /// waits for its output to be read does not end.
    ///
    /// Linux: without polling and signal handlers, in a descriptor of the process; where the system
    /// has none (before Linux 5.3, in some sandboxes), the process is looked at after 1 ms, 2 ms,
    /// and so on up to every 16 ms.
    ///
    /// @param microSeconds for how long at most; 0 looks once, a negative number waits for ever.
    /// @returns `kelStatusOk` when it has ended; `kelStatusTimedOut` when it runs on;
    /// `kelStatusFailed` when no process was started.
    int Wait(long long microSeconds);

    /// The exit code of a process that has ended by itself.
    ///
    /// @returns `kelStatusFailed`, with `code` unchanged, while it runs, when a signal has ended
    /// it, when no process was started, and, on Linux, when somebody else has collected it (as the
    /// system does while the program ignores SIGCHLD).
    int GetExitCode(int& code) const;

    /// The number of the signal that has ended the process.
    ///
    /// @returns `kelStatusFailed`, with `number` unchanged, where `GetExitCode` succeeds and in
    /// the other cases named there. Windows: always; `Kill` gives the exit code 15 there, and
    /// `NativeKill` 0.
    int GetSignal(int& number) const;
    /// @}

    /// @name The pipes of the process
    /// For streams that were started as `StreamPipe`; without one these operations fail. While one
    /// of them waits, it takes whatever the process writes to the others and keeps it in memory for
    /// `ReadOutput` and `ReadErrors`: the process never hangs on a full pipe that nobody reads. No
    /// SIGPIPE reaches the program. The pipes go with the last object that shares the process and
    /// with its next `Start`; what was not read is lost then. One thread at a time uses the pipes
    /// of one process.
    /// @{

    /// Writes to the process's standard input, and returns when all of it is in the pipe.
    ///
    /// @returns `kelStatusFailed` when the process has closed its input or ended: some of the bytes
    /// may have been taken.
    int WriteInput(const void* buffer, unsigned long long size);

    /// Closes the process's standard input: it finds the end there once it has read the rest.
    int CloseInput();

    /// Reads what the process has written to its standard output, as soon as there is anything.
    ///
    /// @param size the room in `buffer`, not 0; receives the number of bytes, which is 0 at the end
    /// alone: when the process, and whoever has inherited its stream, has closed it.
    int ReadOutput(void* buffer, unsigned long long& size);

    /// The same for its standard error.
    int ReadErrors(void* buffer, unsigned long long& size);
    /// @}

    /// Runs a program to its end: starts it, writes `input` to its standard input and closes that,
    /// and collects all of both outputs, at the same time and of any size. The streams of the
    /// options are not looked at.
    ///
    /// It is over when the program has ended and nobody has its outputs open any more; a program
    /// that it has left running with them counts. Input that the program does not read is dropped.
    ///
    /// @param exitCode receives the exit code; Linux: 128 and the signal's number, as shells have
    /// it, when a signal has ended the program.
    /// @param microSeconds for how long at most; a negative number: for ever. When the time is over
    /// the program and what it has started are ended (Linux: by SIGKILL, all that is in the
    /// program's process group, which is its own; Windows: all that is in its job).
    /// @returns `kelStatusTimedOut` then; `kelStatusFailed` when the program was not started, and
    /// when it cannot be told how it has ended. `output`, `errors` and `exitCode` change on success
    /// alone.
    static int Run(const kelProcessOptions& options, const zuString& input, zuString& output,
                   zuString& errors, int& exitCode, long long microSeconds);

    /// Why the last `Start` or `Kill` of this object failed, in the system's words; empty when it
    /// did not.
    zuString GetLastError();

private:
    kelProcessRecord* record_;
    zuString lastError_;
};
