#pragma once

#include "kelExport.h"
#include "kelProcessOptions.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelProcessRecord;

/// A child process: start it, write to it, read from it, wait for it, end it. `Run` does all of
/// that in one call and returns the output and the exit code.
///
/// | State   | `GetPid`   | `IsRunning`   | `Kill`            | entered by                        |
/// |---------|------------|---------------|-------------------|-----------------------------------|
/// | idle    | -1         | false         | `kelStatusFailed` | construction, failed start, kill  |
/// | started | identifier | until it ends | ends it           | a start that succeeded            |
///
/// `Start` is allowed in both states. The object abandons its child by another `Start`, by `Kill`
/// and when it is destroyed: the child is not waited for and, unless killed, runs on. `GetPid`
/// keeps the identifier after the child has ended.
///
/// Linux: the object refers to the process by a pidfd, so it never signals another process that has
/// reused the pid. The pidfd is held while the process runs; before Linux 6.9 that of an abandoned
/// child stays open until the child ends.
///
/// Linux: ended children are reaped by `Wait`, and by later `Start`, `Kill` and destruction of any
/// object of this class, at most 32 per call; until then they are zombies. No other child of the
/// program is ever reaped, so it can wait for its own. It may even reap all children
/// (`waitpid(-1)`, SIGCHLD ignored): a child of this class then counts as ended, and how it ended
/// is unknown. Before Linux 5.4, and where a sandbox refuses pidfds or signals through them, a
/// child is known by its pid alone, and the program should leave the reaping of these children to
/// this class.
///
/// Failure: no operation throws except `std::bad_alloc`.
///
/// Threads: one thread at a time may use an object; different objects are independent. The static
/// operations may be called from any thread. Linux: a forked copy of an object may query and kill,
/// unless another thread was in an operation of this class during the `fork`. No operation is a
/// cancellation point of `pthread_cancel`.
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
    /// Shares the process of `other` and copies its last error text: a start or kill through either
    /// object holds for both.
    kelProcess(const kelProcess& other);
    /// Abandons the process, which runs on.
    ~kelProcess();
    /// As the copy constructor; a process that only this object held is abandoned.
    kelProcess& operator=(const kelProcess& other);

    /// Starts the program `command` and returns as soon as it runs.
    ///
    /// @param command one program name, not split into words. Without a `/` it is searched for
    /// along the search path (Linux: `$PATH`); with one it is a path. Linux: a relative path, also
    /// one in the search path, is resolved against the child's working directory; a script without
    /// an interpreter line is run by `/bin/sh`. Windows: a name without `/`, `\` and `:` is
    /// searched for in the system's directories and then along the absolute entries of `%PATH%`,
    /// never in the current directory. `.com`, `.exe`, `.bat` or `.cmd` is added to a name that has
    /// none of them.
    /// @param arguments what the program gets after its own name, each unchanged: nothing is quoted
    /// or split. Linux: any bytes but NUL, each below 128 KiB. Windows: UTF-8, all of them together
    /// below 32 KiB; written as the C library of the child reads them. A batch file (`.bat`,
    /// `.cmd`, also followed by dots and spaces) runs under the system's `cmd.exe` and gets each
    /// argument in quotation marks. These protect everything except `"`, `%` and line ends: with
    /// one of them in an argument or in the file's name the start fails. It also fails beyond 8191
    /// characters. An argument that a script takes out of its marks (`%~1`), or expands a second
    /// time, is not protected.
    /// @param directory the child's working directory; empty: the caller's.
    /// @param outputFiles where the child's output goes: element 0 takes standard output and
    /// element 1 standard error; a single name, or the same name twice, takes both in the order
    /// written. Further elements are ignored. A file is created if necessary, relative to the
    /// caller's current directory, and appended to; opening a named pipe blocks until it has a
    /// reader. A stream without a file, or whose file cannot be opened, is discarded (Linux: to
    /// `/dev/null`, which must exist). A name that contains a NUL cannot be opened.
    /// @param detach Linux: true puts the child in a session of its own, so that it has no terminal
    /// and outlives the caller's. It has no other effect, not on waiting either.
    ///
    /// The child inherits the caller's environment and standard input, and no other descriptor of
    /// this library. Linux: it also inherits the signal mask and the ignored signals, except that
    /// SIGCHLD has its default action.
    ///
    /// Linux: a program that is open for writing cannot be run (ETXTBSY). `Start` retries for up to
    /// 127 ms: a child that another thread is starting can hold the file of a newly written program
    /// open for a moment.
    ///
    /// @returns `kelStatusOk`, or `kelStatusFailed` if
    /// - the program cannot be found or run;
    /// - the working directory cannot be entered;
    /// - `command`, `directory` or an argument contains a NUL.
    ///
    /// After a failure the reason is in `GetLastError`, there is no child, and the object is idle.
    int Start(const zuString& command, const zuStlVector<zuString>& arguments,
              const zuString& directory, const zuStlVector<zuString>& outputFiles, bool detach);

    /// @name Shorter forms of Start
    /// Omitted values are empty. Overloads that take a pointer for `detach` are deleted: a string
    /// literal would convert to `bool`.
    /// @{

    /// As the full form.
    int Start(const zuString& command, const zuStlVector<zuString>& arguments,
              const zuString& directory, bool detach);
    int Start(const zuString& command, const zuStlVector<zuString>& arguments, bool detach);
    int Start(const zuString& command, bool detach);
    /// Starts a program as the record describes. Unlike the forms above, the start fails if a
    /// stream's file cannot be opened, the name of a variable is empty or contains a `=`, or any
    /// text contains a NUL.
    int Start(const kelProcessOptions& options);
    template <typename T>
    int Start(const zuString&, const zuStlVector<zuString>&, const zuString&, T*) = delete;
    template <typename T>
    int Start(const zuString&, const zuStlVector<zuString>&, T*) = delete;
    template <typename T>
    int Start(const zuString&, T*) = delete;
    /// @}

    /// Whether the started process runs. False for one that has ended, reaped or not.
    bool IsRunning() const;
    /// Whether any process with this identifier runs, a child or not; false for 0 and below.
    static bool IsRunning(int pid);

    /// The identifier of the started process, or -1.
    int GetPid() const;
    /// The identifier of the calling process.
    static int GetCurrentProcessPid();

    /// Ends the started process and abandons it: the object is idle afterwards, even after a
    /// failure. Linux: sends SIGTERM, which the process may handle or ignore. Windows: terminates
    /// it.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` if the process could not be ended or had ended
    /// already, with the reason in `GetLastError`; `kelStatusFailed` without a text if the object
    /// was idle.
    int Kill();

    /// Terminates the process with this identifier, whoever started it (Linux: SIGKILL). No object
    /// changes.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` if there is no such process or it may not be
    /// ended. For 0 and below nothing is signalled.
    static int NativeKill(int pid);

    /// @name The end of the process
    /// These refer to the process that this object or a copy has started last, also after `Kill`.
    /// Any number of threads may wait, each with an object of its own (copies of one another too).
    /// @{

    /// Waits until the process has ended. `Wait` does not read the process's pipes: a process that
    /// waits for its output to be read does not end.
    ///
    /// Linux: waits on the pidfd, without polling and signal handlers. Where there are no pidfds
    /// (before Linux 5.3, in some sandboxes) it polls, after 1 ms, 2 ms, and so on up to every 16
    /// ms.
    ///
    /// @param microSeconds for how long at most; 0 tests once, a negative number waits for ever.
    /// @returns `kelStatusOk` if it has ended; `kelStatusTimedOut` if it still runs;
    /// `kelStatusFailed` if no process was started.
    int Wait(long long microSeconds);

    /// The exit code of a process that was not ended by a signal.
    ///
    /// @returns `kelStatusFailed`, with `code` unchanged, if
    /// - the process still runs;
    /// - a signal has ended it;
    /// - no process was started;
    /// - Linux: somebody else has reaped it (as the system does while the program ignores SIGCHLD).
    int GetExitCode(int& code) const;

    /// The number of the signal that has ended the process.
    ///
    /// @returns `kelStatusFailed`, with `number` unchanged, where `GetExitCode` succeeds and in the
    /// other cases named there. Windows: always; `Kill` sets the exit code 15 there, and
    /// `NativeKill` 0.
    int GetSignal(int& number) const;
    /// @}

    /// @name The pipes of the process
    /// For streams that were started as `StreamPipe`; without one these operations fail. An
    /// operation that waits also reads what the process writes to its other pipes, and keeps it in
    /// memory for `ReadOutput` and `ReadErrors`: the process never hangs on a full pipe. No SIGPIPE
    /// reaches the program. The pipes are closed with the last object that shares the process and
    /// by its next `Start`; unread data is lost then. One thread at a time may use the pipes of one
    /// process.
    /// @{

    /// Writes to the process's standard input, and returns when everything is in the pipe.
    ///
    /// @returns `kelStatusFailed` if the process has closed its input or ended: some of the bytes
    /// may have been taken.
    int WriteInput(const void* buffer, unsigned long long size);

    /// Closes the process's standard input: the process sees its end once it has read the rest.
    int CloseInput();

    /// Waits until the process has written something to its standard output, and reads it.
    ///
    /// @param size the size of `buffer`, not 0; receives the number of bytes. It is 0 only at the
    /// end, when the process and everybody who has inherited its stream have closed it.
    int ReadOutput(void* buffer, unsigned long long& size);

    /// The same for its standard error.
    int ReadErrors(void* buffer, unsigned long long& size);
    /// @}

    /// Runs a program to its end: starts it, writes `input` to its standard input and closes that,
    /// and at the same time reads both outputs, of any size. The streams of the options are
    /// ignored.
    ///
    /// `Run` returns when the program has ended and nobody has its outputs open any more, including
    /// programs that it has left running with them. Input that the program does not read is
    /// dropped.
    ///
    /// @param exitCode receives the exit code; Linux: 128 plus the signal's number, as in shells,
    /// if a signal has ended the program.
    /// @param microSeconds for how long at most; a negative number: for ever. After that the
    /// program and what it has started are terminated. Linux: by SIGKILL to its process group,
    /// which is its own. Windows: by ending its job.
    /// @returns `kelStatusTimedOut` in that case; `kelStatusFailed` if the program was not started,
    /// or its exit code is unknown. `output`, `errors` and `exitCode` change only on success.
    static int Run(const kelProcessOptions& options, const zuString& input, zuString& output,
                   zuString& errors, int& exitCode, long long microSeconds);

    /// The system's text for why the last `Start` or `Kill` of this object failed; empty if it
    /// succeeded.
    zuString GetLastError();

private:
    kelProcessRecord* record_;
    zuString lastError_;
};
