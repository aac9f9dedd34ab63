#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelLibraryRecord;

// <windows.h> has macros of these names. They must not rename the members, whether that header
// comes before this one or after it: at the end of the class the calls are met under either name.
#pragma push_macro("GetEnvironmentVariable")
#pragma push_macro("SetEnvironmentVariable")
#undef GetEnvironmentVariable
#undef SetEnvironmentVariable

/// The surroundings of the process (environment variables, user, host, locale, platform), the
/// expansion of file names, and a use of APR that lasts: while a `kelLibrary` is alive, APR stays
/// started.
///
/// No set-up call is needed. An operation that needs APR starts it when nobody else has, and stops
/// it again when nobody else uses it. Only a few do: loaded modules, `GetHostName` and
/// `GetTempDir`; Windows: some more. A start and a stop cost many times such a call, so a program
/// that makes many of them keeps one `kelLibrary` alive. Everything else costs the same without
/// one.
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
/// Failure: no operation throws but for `std::bad_alloc`; output arguments change only on success.
///
/// Threads: one object is used by one thread at a time; different objects are independent, and
/// objects may be made and destroyed in any number of threads at once. The static operations may be
/// called from any thread. The environment is one for the whole process: `SetEnvironmentVariable`
/// must not run while another thread reads or sets a variable in any way, `getenv` and the
/// operations that expand names included.
///
/// Several copies of the library in one process (plug-ins that each contain the static library) may
/// start and stop APR at the same time: they do it under one lock. A program that calls
/// `apr_initialize` and `apr_terminate` itself does not take that lock: it holds a use of APR from
/// before its threads begin until they have ended.
///
/// Stack: every operation works on a thread with a stack of 16 KiB, except that a loaded module,
/// and the system's name services behind the user's name and directory, may need more.
///
/// Memory: each text of `GetLocale`, some 30 bytes, stays with the object until it is destroyed.
/// Nothing else does.
class KEL_API kelLibrary {
public:
    /// Starts APR or counts one more user of it. Throws `std::bad_alloc` when there is no memory
    /// for the object; an APR that cannot start is not reported here: the operations that need it
    /// then give their failure values.
    kelLibrary();
    /// Makes an object of its own that takes nothing from `other`.
    kelLibrary(const kelLibrary& other);
    /// Counts one user less; the last user stops APR.
    ~kelLibrary();
    /// Shares what `other` holds; what this object held alone is released. The shared part lives as
    /// long as either object. Texts of `GetLocale` that were this object's alone end.
    kelLibrary& operator=(const kelLibrary& other);

    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Initialize();
    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Terminate();

    /// Reads an environment variable into `value`. Mind the order: the result comes first.
    ///
    /// @returns `kelStatusNoVariable` when it is not set. Linux: its bytes as they are. Windows: as
    /// UTF-8.
    int GetEnvironmentVariable(zuString& value, const zuString& name);

    /// Sets an environment variable of this process and of the programs that it starts, for the
    /// system and for the C library's `getenv` alike. Here the name comes first.
    ///
    /// @returns `kelStatusNoVariable`, and nothing is changed, when the name is empty or has a `=`
    /// in it, or without memory. Windows: also when one of the two has more than 32 766 units of
    /// UTF-16 or is no UTF-8. An empty value: Linux: the variable is set and empty; Windows: it is
    /// removed.
    int SetEnvironmentVariable(const zuString& name, const zuString& value);

    /// Takes an environment variable out of this process and of the programs that it starts, for
    /// the system and for the C library alike. The rule for threads is that of
    /// `SetEnvironmentVariable`.
    ///
    /// @returns `kelStatusOk` also when it was not set; `kelStatusNoVariable`, and nothing is
    /// changed, when the name is empty or has a `=` or a NUL in it. Windows: also when it is too
    /// long or no UTF-8.
    int UnsetEnvironmentVariable(const zuString& name);

    /// The names of all environment variables, in the system's order.
    ///
    /// @returns `kelStatusFailed`, with `names` unchanged, when the system does not tell them.
    int GetEnvironmentNames(zuStlVector<zuString>& names);

    /// The absolute path of the running program's file. Linux: where the file is now, and with
    /// " (deleted)" behind it when it has been removed.
    ///
    /// @returns `kelStatusFailed`, with `path` unchanged, when the system does not tell it.
    static int GetProgramPath(zuString& path);

    /// Looks for a program as `kelProcess` does, in the caller's working directory and along the
    /// search path as it stands.
    ///
    /// @param name with a `/` (Windows: or another part of a path) it is a path already. Windows:
    /// `.com`, `.exe`, `.bat` or `.cmd` may be missing.
    /// @param path receives a path of a file that the caller may run; relative if what it was found
    /// by is (Windows: always absolute).
    /// @returns `kelStatusNotFound`, with `path` unchanged, when there is none.
    static int FindProgram(const zuString& name, zuString& path);

    /// The account name of the user that the process belongs to (Linux: by its real user
    /// identifier). @returns `kelStatusNoUser` when the system knows none.
    int GetCurrentUserName(zuString& name);

    /// That user's home directory, as the system's user database has it: no environment variable is
    /// asked. @returns `kelStatusNoUser` when the user or the directory cannot be found.
    int GetUserDirectory(zuString& directory);

    /// The machine's host name, of up to 256 bytes. @returns `kelStatusFailed` when the system does
    /// not tell it.
    int GetHostName(zuString& name);

    /// The locale of the calling thread, such as `en_US.1252`: two lower-case letters of language,
    /// an underscore, two letters of country, a dot, and the number of the code page in decimal.
    ///
    /// @returns a text of its own for each call, which stays valid until the object and all that
    /// share with it by assignment are destroyed or take over another; null when the platform
    /// cannot tell one of the parts, and for languages and countries without two letters (`fil`).
    ///
    /// Linux: the locale is that of the category `LC_CTYPE`, as the thread or the program has
    /// chosen it; while that is the C locale, the user's own, as the environment names it. Null for
    /// one that names none (`C`, `C.UTF-8`) or is not installed. The number is 65001 for UTF-8,
    /// 20127 for ASCII, 28590 + n for ISO 8859-n, and for other character sets that of Windows;
    /// null where it has none.
    const char* GetLocale() const;

    /// A directory for temporary files in which a file could be made just now, or an empty text.
    /// Linux: the first that serves of `$TMPDIR`, `$TMP`, `$TEMP`, `/tmp`, `/usr/tmp`, `/var/tmp`
    /// and the current directory.
    zuString GetTempDir() const;

    /// @name The platform in fixed words
    /// Static texts, never null, not to be freed. They are fixed when the library is built: the
    /// first for each operation, or on Linux with the build option `ZUKEL_PLATFORM_TEXTS=native`
    /// the second.
    /// @{

    /// Of system and word size: `win64` or `linux64`.
    static const char* GetPlatform();
    /// Of the system alone: `win` or `linux`.
    static const char* GetPlatformBase();
    /// How the file name of a shared library begins: empty or `lib`.
    static const char* GetSharedLibPrefix();
    /// How it ends: `.dll` or `.so`.
    static const char* GetSharedLibSuffix();
    /// @}

    /// The system's number for the reason of the last failure in the calling thread: `errno`
    /// (Linux) or the error code of the system (Windows), of the last operation of any class of
    /// this library that failed there, by its status or by an empty or false answer that its header
    /// calls a failure; 0 if none has failed. A success leaves it as it is. What fails before the
    /// system is asked has the number that the system gives to such a mistake (a closed file:
    /// `EBADF`, `ERROR_INVALID_HANDLE`), and the end of a file has one too (`ENODATA`,
    /// `ERROR_HANDLE_EOF`). An operation that throws `std::bad_alloc` leaves none.
    static int GetErrorNumber();
    /// The system's words for that number; empty if it is 0. Linux: in English. Windows: in the
    /// user's language, as UTF-8.
    static zuString GetErrorText();
    /// A status code in English words, such as "not found": a static text, the same for ever, and
    /// "unknown status" for any other number.
    static const char* GetStatusText(int status);

    /// The name with its shorthands expanded and every backslash outside of them turned into `/`:
    ///
    /// | component           | becomes                                                       |
    /// |---------------------|---------------------------------------------------------------|
    /// | `~`, at the start   | the user's directory (`GetUserDirectory`)                     |
    /// | `$PLATFORM`         | `GetPlatform()`                                               |
    /// | `$NAME`             | the value of the environment variable `NAME`                  |
    /// | any other           | stays: also `x/~`, `~user`, `a$NAME`, `.`, `..` and empty ones |
    ///
    /// Components lie between separators, `/` or the backslash. What a shorthand gives is not
    /// expanded again and keeps its separators. A shorthand that cannot be expanded stays as it is;
    /// nothing reports it. The name need not exist, and a relative name stays relative.
    ///
    /// Windows: a result with a `~` in it, wherever that comes from, has the short (8.3) components
    /// of a file that exists replaced by the long ones. Linux: there are no short names.
    static zuString GetAbsoluteFileName(const zuString& name);

    /// The file name of the shared library `name`, with or without directories: the platform's
    /// prefix and suffix are put around the last component, and the whole is expanded by
    /// `GetAbsoluteFileName`. Nothing is left out when they are there already: `lib.dll` gives
    /// `lib.dll.dll`. A last component `$NAME` is looked up with the suffix behind it, and
    /// stays where there is a prefix.
    static zuString GetAbsoluteLibraryName(const zuString& name);

    /// @name Under the names that windows.h makes of calls to the two above
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
