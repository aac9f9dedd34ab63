#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelLibraryRecord;

// <windows.h> defines macros of these names. They must not rename the members, wherever that header
// is included: for calls that the macros rename there are aliases at the end of the class.
#pragma push_macro("GetEnvironmentVariable")
#pragma push_macro("SetEnvironmentVariable")
#undef GetEnvironmentVariable
#undef SetEnvironmentVariable

/// The process environment (variables, user, host, locale, platform), the expansion of file names,
/// and the lifetime of APR: while a `kelLibrary` is alive, APR stays initialised.
///
/// No set-up call is needed. An operation that needs APR starts it if nobody else has, and stops it
/// again if nobody else uses it. Only a few do: loaded modules, `GetHostName` and `GetTempDir`;
/// Windows: some more. Starting and stopping costs many times such a call, so a program that makes
/// many of them keeps one `kelLibrary` alive. Everything else costs the same without one.
///
/// @code
/// int main() {
///     kelLibrary library;
///     library.SetEnvironmentVariable("SITE", "/srv/www");
///     std::puts(kelLibrary::GetAbsoluteFileName("$SITE\\index.html").c_str());
///     return 0;  // prints: /srv/www/index.html
/// }
/// @endcode
///
/// Many operations have an overload with a leading `kelLibrary` pointer. The pointer is never read:
/// it may be null, and the overload does what the one without it does.
///
/// Failure: no operation throws except `std::bad_alloc`; output arguments change only on success.
///
/// Threads: one thread at a time may use an object; different objects are independent, and any
/// number of threads may make and destroy objects at once. The static operations may be called from
/// any thread. The whole process has one environment: `SetEnvironmentVariable` must not run while
/// another thread reads or sets a variable in any way, including `getenv` and the operations that
/// expand names.
///
/// Several copies of the library in one process (plug-ins that each contain the static library) may
/// start and stop APR at the same time: they do it under one lock. A program that calls
/// `apr_initialize` and `apr_terminate` itself does not take that lock: it must initialise APR
/// before its threads begin and terminate it after they have ended.
///
/// Stack: every operation works on a thread with a stack of 16 KiB. A loaded module may need more,
/// and so may the system's name services, which supply the user's name and directory.
///
/// Memory: each text of `GetLocale`, some 30 bytes, is freed only with the object. Nothing else
/// accumulates.
class KEL_API kelLibrary {
public:
    /// Starts APR, or counts one more user of it. Throws `std::bad_alloc` if there is no memory for
    /// the object. If APR cannot start, the operations that need it report that by their failure
    /// values.
    kelLibrary();
    /// Makes an object of its own that takes nothing from `other`.
    kelLibrary(const kelLibrary& other);
    /// Counts one user fewer; the last one stops APR.
    ~kelLibrary();
    /// Shares what `other` holds, which lives as long as either object; what only this object held
    /// is released. `GetLocale` texts that no other object shares become invalid.
    kelLibrary& operator=(const kelLibrary& other);

    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Initialize();
    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Terminate();

    /// Reads an environment variable into `value`. Note the order: the result comes first.
    ///
    /// @returns `kelStatusNoVariable` if it is not set. Linux: its bytes are returned as they are.
    /// Windows: it is returned as UTF-8.
    int GetEnvironmentVariable(zuString& value, const zuString& name);

    /// Sets an environment variable for this process and the programs that it starts, and for the C
    /// library's `getenv`. Here the name comes first.
    ///
    /// @returns `kelStatusNoVariable`, with nothing changed, if the name is empty or contains a
    /// `=`, or memory is lacking. Windows: also if either text is invalid UTF-8 or longer than 32
    /// 766 UTF-16 units. With an empty value Linux sets the variable to an empty text, and Windows
    /// removes it.
    int SetEnvironmentVariable(const zuString& name, const zuString& value);

    /// Removes an environment variable for this process and the programs that it starts, and for
    /// the C library. The rule for threads is that of `SetEnvironmentVariable`.
    ///
    /// @returns `kelStatusOk` also if it was not set; `kelStatusNoVariable`, with nothing changed,
    /// if the name is empty or contains a `=` or a NUL. Windows: also if it is too long or invalid
    /// UTF-8.
    int UnsetEnvironmentVariable(const zuString& name);

    /// The names of all environment variables, in the system's order.
    ///
    /// @returns `kelStatusFailed`, with `names` unchanged, if the system does not provide them.
    int GetEnvironmentNames(zuStlVector<zuString>& names);

    /// The absolute path of the running program's file. Linux: the path that the file has now,
    /// followed by " (deleted)" if it has been removed.
    ///
    /// @returns `kelStatusFailed`, with `path` unchanged, if the system does not provide it.
    static int GetProgramPath(zuString& path);

    /// Looks for a program as `kelProcess` does, in the caller's working directory and along its
    /// search path at the time.
    ///
    /// @param name a name with a `/` (Windows: or with `\` or `:`) is used as a path. Windows:
    /// `.com`, `.exe`, `.bat` or `.cmd` may be missing.
    /// @param path receives the path of a file that the caller may run; relative if the name, or
    /// the entry of the search path, is (Windows: always absolute).
    /// @returns `kelStatusNotFound`, with `path` unchanged, if there is none.
    static int FindProgram(const zuString& name, zuString& path);

    /// The account name of the user that the process belongs to (Linux: the real user). @returns
    /// `kelStatusNoUser` if the system has none.
    int GetCurrentUserName(zuString& name);

    /// That user's home directory from the system's user database; environment variables are
    /// ignored. @returns `kelStatusNoUser` if the user or the directory cannot be found.
    int GetUserDirectory(zuString& directory);

    /// The machine's host name, of up to 256 bytes. @returns `kelStatusFailed` if the system does
    /// not provide it.
    int GetHostName(zuString& name);

    /// The locale of the calling thread, such as `en_US.1252`: two lower-case letters of language,
    /// an underscore, two letters of country, a dot, and the number of the code page in decimal.
    ///
    /// @returns a new text for each call. It is valid while this object, or one that shares its
    /// state by assignment, lives and is not assigned to. Null if the platform lacks one of the
    /// parts, and for languages and countries without a two-letter code (`fil`).
    ///
    /// Linux: the locale is that of the category `LC_CTYPE`, as the thread or the program has set
    /// it; while that is the C locale, the user's own, as the environment names it. Null for a
    /// locale without language or country (`C`, `C.UTF-8`), and for one that is not installed. The
    /// number is 65001 for UTF-8, 20127 for ASCII, 28590 + n for ISO 8859-n, and the one of Windows
    /// for other character sets; null where Windows has none.
    const char* GetLocale() const;

    /// A directory for temporary files in which a file could be created just now, or an empty text.
    /// Linux: the first usable one of `$TMPDIR`, `$TMP`, `$TEMP`, `/tmp`, `/usr/tmp`, `/var/tmp`
    /// and the current directory.
    zuString GetTempDir() const;

    /// @name Texts that name the platform
    /// Static texts, never null, not to be freed. They are fixed when the library is built: the
    /// first one given for each operation or, on Linux with the build option
    /// `ZUKEL_PLATFORM_TEXTS=native`, the second.
    /// @{

    /// System and word size: `win64` or `linux64`.
    static const char* GetPlatform();
    /// System alone: `win` or `linux`.
    static const char* GetPlatformBase();
    /// Prefix of the file name of a shared library: empty or `lib`.
    static const char* GetSharedLibPrefix();
    /// Suffix of the file name of a shared library: `.dll` or `.so`.
    static const char* GetSharedLibSuffix();
    /// @}

    /// The system's error number (Linux: `errno`; Windows: that of `GetLastError`) for the last
    /// operation of this library that failed in the calling thread; 0 if none has. A failure is a
    /// status, or an empty or false result that a header calls a failure. A success leaves the
    /// number as it is. An operation that fails before it calls the system leaves the number of
    /// such a mistake (a closed file: `EBADF`, `ERROR_INVALID_HANDLE`). The end of a file has a
    /// number too (`ENODATA`, `ERROR_HANDLE_EOF`). An operation that throws `std::bad_alloc` leaves
    /// none.
    static int GetErrorNumber();
    /// The system's text for that number; empty if it is 0. Linux: in English. Windows: in the
    /// user's language, as UTF-8.
    static zuString GetErrorText();
    /// A static English text for a status code, such as "not found"; "unknown status" for any other
    /// number.
    static const char* GetStatusText(int status);

    /// The name with its shorthands expanded, and every backslash outside them replaced by `/`:
    ///
    /// | component           | becomes                                                       |
    /// |---------------------|---------------------------------------------------------------|
    /// | `~`, at the start   | the user's directory (`GetUserDirectory`)                     |
    /// | `$PLATFORM`         | `GetPlatform()`                                               |
    /// | `$NAME`             | the value of the environment variable `NAME`                  |
    /// | any other           | stays: also `x/~`, `~user`, `a$NAME`, `.`, `..` and empty ones |
    ///
    /// Components lie between separators, `/` or the backslash. The expansion of a shorthand is not
    /// expanded again and keeps its separators. A shorthand that cannot be expanded stays as it is,
    /// without an error. The name need not exist, and a relative name stays relative.
    ///
    /// Windows: if the result contains a `~` and names an existing file, its short (8.3) components
    /// are replaced by the long ones. Linux: there are no short names.
    static zuString GetAbsoluteFileName(const zuString& name);

    /// The file name of the shared library `name`, with or without directories: the platform's
    /// prefix and suffix are put around the last component, and the result is expanded by
    /// `GetAbsoluteFileName`. They are added even if already present: `lib.dll` becomes
    /// `lib.dll.dll`. A last component `$NAME` is therefore looked up with the suffix appended, and
    /// not expanded where there is a prefix.
    static zuString GetAbsoluteLibraryName(const zuString& name);

    /// @name Aliases for callers that have included <windows.h>
    /// @{

    /// The same as `GetEnvironmentVariable`.
    int GetEnvironmentVariableA(zuString& value, const zuString& name) {
        return GetEnvironmentVariable(value, name);
    }
    /// The same as `GetEnvironmentVariable`.
    int GetEnvironmentVariableW(zuString& value, const zuString& name) {
        return GetEnvironmentVariable(value, name);
    }
    /// The same as `SetEnvironmentVariable`.
    int SetEnvironmentVariableA(const zuString& name, const zuString& value) {
        return SetEnvironmentVariable(name, value);
    }
    /// The same as `SetEnvironmentVariable`.
    int SetEnvironmentVariableW(const zuString& name, const zuString& value) {
        return SetEnvironmentVariable(name, value);
    }
    /// @}

private:
    kelLibraryRecord* record_;
};

#pragma pop_macro("SetEnvironmentVariable")
#pragma pop_macro("GetEnvironmentVariable")
