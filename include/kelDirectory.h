#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelDirectoryRecord;

// <windows.h> defines macros of these names. They must not rename the members, wherever that header
// is included: for calls that the macros rename there are aliases at the end of the class.
#pragma push_macro("GetCurrentDirectory")
#pragma push_macro("SetCurrentDirectory")
#undef GetCurrentDirectory
#undef SetCurrentDirectory

/// A cursor over the entries of one directory; operations on directories by name, and on the text
/// of their paths.
///
/// | State  | entered by                                  | `ReadFirst`, `ReadNext` | lists    |
/// |--------|---------------------------------------------|-------------------------|----------|
/// | closed | construction, failed `Open`, `Close`        | `kelStatusNotOpen`      | empty, 0 |
/// | open   | `Open` that succeeded                       | the entries             | complete |
/// | lost   | `Close` that failed; left by assignment     | fail                    | empty, 0 |
///
/// A lost directory still counts as open (`Open` returns `kelStatusOk` and changes nothing, `Close`
/// fails again), but its handle is gone and nothing can be read.
///
/// Entries are bare names of files and directories, in the order of the system, unsorted. Linux: a
/// name is any bytes but `/`. Windows: a name is UTF-8. Entries that are created or removed while
/// the directory is read may or may not be seen; `ReadFirst` and the two lists read it again.
///
/// Names of directories are used as they are, relative to the current directory: only
/// `GetRelativePath` expands `~` and `$NAME`.
///
/// Failure: no operation throws except `std::bad_alloc`; output arguments change only on success.
///
/// Threads: one thread at a time may use an object; different objects are independent. Any number
/// of threads may run the static operations at once, but the whole process has one current
/// directory.
///
/// Child processes: no started program inherits a descriptor of this class.
///
/// @code
/// kelDirectory directory("notes");
/// zuString name;
/// while (directory.ReadNext(name) == kelStatusOk) {
///     if (name != "." && name != "..") {
///         std::puts(name.c_str());  // prints: today.txt
///     }
/// }
/// std::puts(kelDirectory::GetAbsolutePath("/srv/./www/../data/").c_str());
/// // prints: /srv/data
/// std::puts(kelDirectory::GetRelativePath("/usr/lib", "/usr/share").c_str());
/// // prints: ./../share/
/// @endcode
class KEL_API kelDirectory {
public:
    /// Makes a closed object with an empty name. Throws `std::bad_alloc` without memory.
    kelDirectory();
    /// The same. The pointer is not read and may be null.
    explicit kelDirectory(kelLibrary* library);
    /// Makes the object and calls `Open`. The status is not reported: `GetName` is empty if opening
    /// failed.
    explicit kelDirectory(const zuString& name);
    /// Makes a closed object with an empty name. Nothing of `other` is taken over.
    kelDirectory(const kelDirectory& other);
    /// Closes an open directory and ignores the status.
    ~kelDirectory();
    /// Shares the open directory, the name and the position of `other`: both objects see what is
    /// done through either, and the last one closes the directory. A directory that only this
    /// object held is closed.
    kelDirectory& operator=(const kelDirectory& other);

    /// Opens the directory `name`, with the position before its first entry. On an open object it
    /// does nothing and returns `kelStatusOk`, whatever `name` is: `Close` first.
    ///
    /// @returns `kelStatusFailed` if there is no such directory, the name is that of something
    /// else, or the directory is not readable. The object then stays closed and keeps its former
    /// name.
    int Open(const zuString& name);

    /// Closes the directory. The name stays.
    ///
    /// @returns `kelStatusNotOpen` if the object was closed already; `kelStatusFailed` if the
    /// system could not close it (see the states above).
    int Close();

    /// Rewinds the directory and reads its first entry into `name`. "." and ".." are entries like
    /// any other here.
    ///
    /// @returns `kelStatusOk`; `kelStatusNotOpen` on a closed object and if rewinding failed;
    /// `kelStatusReadFailed` if there is nothing to read. `name` changes only with `kelStatusOk`.
    int ReadFirst(zuString& name);

    /// Reads the next entry into `name`: the first one straight after `Open`.
    ///
    /// @returns `kelStatusOk`; `kelStatusNotOpen` on a closed object; `kelStatusReadFailed` at the
    /// end, every time, and after an error of the system, which looks the same. `name` changes only
    /// with `kelStatusOk`.
    int ReadNext(zuString& name);

    /// The name given to the last `Open` that succeeded. `Close` keeps it. Empty before the first.
    zuString GetName() const;

    /// The names of all entries except "." and "..", from the first on, whatever was read before.
    /// Leaves the directory open at its end. A read error ends the list early. Empty on a closed
    /// object.
    zuStlVector<zuString> GetFileNames();

    /// Reads the names of all entries of the directory `name`, except "." and "..", into `names`.
    ///
    /// @returns
    /// - `kelStatusOk`, with an empty list for an empty directory;
    /// - `kelStatusEmptyPath`: the name is empty;
    /// - `kelStatusNotFound`: there is no such directory;
    /// - `kelStatusAccessDenied`: the directory is not readable;
    /// - `kelStatusReadFailed`: reading failed before the last entry;
    /// - `kelStatusFailed`: any other failure, such as the name of a file.
    ///
    /// `names` changes only with `kelStatusOk`.
    static int GetFileNames(const zuString& name, zuStlVector<zuString>& names);

    /// The number of entries minus 2: "." and ".." are assumed, not checked. 0 if there are fewer
    /// than two entries, and on a closed object. Leaves the directory open at its end. Windows: the
    /// root of a drive has neither, so its number is two too low.
    int GetNumberOfFiles();

    /// The names of all entries of the directory `name` except "." and "..". The list is empty for
    /// an empty directory, and for one that cannot be opened.
    static zuStlVector<zuString> GetFileNames(const zuString& name);

    /// Makes a directory.
    ///
    /// @param perms permissions of every directory that is created, as `kelFileInfo::Permission`
    /// bits; other bits are ignored. `kelFileInfo::PermissionDefault` sets them all. Linux: less
    /// the umask and the set-ID bits. Windows: no effect.
    /// @param recursive creates missing parents as well, and an existing directory is a success. A
    /// failure leaves the parents that were created.
    /// @returns
    /// - `kelStatusEmptyPath`: the path is empty;
    /// - `kelStatusFailed`: the directory could not be created, exists already (not with
    ///   `recursive`), or something other than a directory has that name.
    static int Create(const zuString& path, int perms, bool recursive);
    /// The same. The pointer is not read and may be null.
    static int Create(const kelLibrary* library, const zuString& path, int perms, bool recursive);

    /// Creates an empty directory for the user of the process alone, with a new name made from
    /// `nameTemplate`. It stays until it is removed: see `DeleteTree`.
    ///
    /// @param nameTemplate must end in at least six `X`, of which the last six are replaced.
    /// @param path receives the template with the `X` replaced.
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusEmptyPath`: the template is empty;
    /// - `kelStatusNotFound`: a directory of the path is missing;
    /// - `kelStatusAccessDenied`: that directory is not writable;
    /// - `kelStatusFailed`: any other failure, including a template with too few `X`.
    ///
    /// Linux: the permissions are 0700, less the umask. Windows: the access list grants the user
    /// all rights, also to what is created in the directory, and nobody else any.
    static int CreateTemporary(const zuString& nameTemplate, zuString& path);

    /// Removes one empty directory.
    ///
    /// @returns
    /// - `kelStatusEmptyPath`: the path is empty;
    /// - `kelStatusFailed`: the directory has entries, does not exist, is not a directory (a
    ///   symbolic link to one is not), or the system refuses. Nothing is removed then.
    static int Delete(const zuString& path);
    /// The same. The pointer is not read and may be null.
    static int Delete(const kelLibrary* library, const zuString& path);

    /// Removes a directory with everything in it. Symbolic links are removed, not followed: nothing
    /// outside the tree is touched, even if somebody replaces a directory by a link meanwhile. File
    /// systems mounted in the tree stay. What cannot be removed stays, and everything else is
    /// removed.
    ///
    /// Depth is not limited by the stack or by the length of a path. If other programs create files
    /// in the tree meanwhile, parts of it may stay; the status reports that.
    ///
    /// @returns
    /// - `kelStatusOk`: nothing is left;
    /// - `kelStatusEmptyPath`: the path is empty;
    /// - `kelStatusNotFound`: there is no such directory;
    /// - `kelStatusFailed`: something stayed. Also, with nothing removed, for a file, a symbolic
    ///   link to a directory, a root directory, and a path that ends in `.` or `..`.
    ///
    /// Windows: a file that is open without FILE_SHARE_DELETE stays, and read-only files are
    /// removed. A path in the tree may have 32766 UTF-16 units.
    static int DeleteTree(const zuString& path);

    /// Waits until the names in the directory are on disk: what was created, renamed or removed
    /// there before stays so after a power cut. The contents of files are not synced; see
    /// `kelFile::Sync`.
    ///
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed` if there is no such
    /// directory, it is not readable, or its file system cannot promise that.
    ///
    /// Windows: succeeds without effect for every directory, because the system has no such call
    /// for ordinary users. NTFS keeps names in a journal: after a power cut each is old or new as a
    /// whole, but the latest changes may be lost.
    static int Sync(const zuString& path);

    /// The current directory of the process, absolute, with the platform's own separators; empty if
    /// the system does not know it, as when it has been removed. Linux: at most 4095 bytes.
    static zuString GetCurrentDirectory();
    /// The same. The pointer is not read and may be null.
    static zuString GetCurrentDirectory(const kelLibrary* library);

    /// Makes `path` the current directory of the whole process, of all its threads.
    ///
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed`, with the current
    /// directory unchanged, if there is no such directory or it may not be entered.
    static int SetCurrentDirectory(const zuString& path);
    /// The same. The pointer is not read and may be null.
    static int SetCurrentDirectory(const kelLibrary* library, const zuString& path);

    /// @name Path text
    /// Functions of the text alone: nothing is looked up in the file system, nothing is expanded
    /// (`~` and `$NAME` are ordinary text), and every path is valid.
    /// @{

    /// A copy of `path`, byte for byte. Nothing is cleaned: `GetAbsolutePath` does that.
    static zuString CleanPath(const zuString& path);

    /// Whether `path` is not empty, does not begin with `/` or a backslash, and has no `:`
    /// anywhere. So `a/b:c` is not relative, and `~/a` is.
    static bool IsRelativePath(const zuString& path);

    /// The lexically normalised form of `path`. `.` and `..` are resolved as text, repeated and
    /// trailing separators removed.
    ///
    /// The result is rooted, but independent of the current directory: `a/b` becomes `/a/b`.
    /// - The separator is `/` alone; a backslash is an ordinary byte.
    /// - A path whose second byte is `:` keeps its first two bytes in front (`C:/a/..` becomes
    ///   `C:`).
    /// - A path that begins with `//` keeps both slashes (`//host/share/`), but `//` alone becomes
    ///   `/`.
    /// - A `..` that has nothing to remove is dropped.
    /// - Only the result `/` ends in a separator; only the empty path has an empty result.
    ///
    /// Symbolic links are not resolved: `link/..` is removed as text. See `kelFile::GetRealPath`.
    static zuString GetAbsolutePath(const zuString& path);
    /// @}

    /// The relative path from one existing directory to another. It is `./`, then `../` for each
    /// level up, then the names down, each followed by `/`. From `/usr/lib` to `/usr/share` it is
    /// `./../share/`, from a directory to itself `./`.
    ///
    /// Both names are first expanded by `kelLibrary::GetAbsoluteFileName`. Their ASCII letters are
    /// then lowered, and their separators become `/`. Both resulting texts must name existing
    /// directories. The result is made of them, and therefore in lower case.
    ///
    /// Each text is then split at `/`. A `..` removes the component before it, even the root. An
    /// empty component between two separators counts as a level. If the first components differ
    /// (two drives, or two relative names that start differently) the result is the whole second
    /// text, without `./` in front.
    ///
    /// @returns an empty text if one of the names is not that of a directory, or if the texts
    /// differ and one of them reduces to nothing, such as `.`. A relative name is looked up from
    /// the current directory, but not joined to it.
    ///
    /// Linux: a directory with an upper-case letter in its path is not found, since the lowered
    /// text is another name. A symbolic link to a directory does not count as a directory, unless
    /// its name ends in `/`.
    static zuString GetRelativePath(const zuString& from, const zuString& to);

    /// @name Aliases for callers that have included <windows.h>
    /// @{

    /// The same as `GetCurrentDirectory`.
    static zuString GetCurrentDirectoryA() { return GetCurrentDirectory(); }
    /// The same as `GetCurrentDirectory`.
    static zuString GetCurrentDirectoryA(const kelLibrary* library) {
        return GetCurrentDirectory(library);
    }
    /// The same as `GetCurrentDirectory`.
    static zuString GetCurrentDirectoryW() { return GetCurrentDirectory(); }
    /// The same as `GetCurrentDirectory`.
    static zuString GetCurrentDirectoryW(const kelLibrary* library) {
        return GetCurrentDirectory(library);
    }
    /// The same as `SetCurrentDirectory`.
    static int SetCurrentDirectoryA(const zuString& path) { return SetCurrentDirectory(path); }
    /// The same as `SetCurrentDirectory`.
    static int SetCurrentDirectoryA(const kelLibrary* library, const zuString& path) {
        return SetCurrentDirectory(library, path);
    }
    /// The same as `SetCurrentDirectory`.
    static int SetCurrentDirectoryW(const zuString& path) { return SetCurrentDirectory(path); }
    /// The same as `SetCurrentDirectory`.
    static int SetCurrentDirectoryW(const kelLibrary* library, const zuString& path) {
        return SetCurrentDirectory(library, path);
    }
    /// @}

private:
    kelDirectoryRecord* record_;
};

#pragma pop_macro("SetCurrentDirectory")
#pragma pop_macro("GetCurrentDirectory")
