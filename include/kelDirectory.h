#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelDirectoryRecord;

// <windows.h> has macros of these names. They must not rename the members, whether that header
// comes before this one or after it: at the end of the class the calls are met under either name.
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
/// | open   | `Open` that succeeded                       | the entries             | as told  |
/// | lost   | `Close` that failed; left by assignment     | fail                    | empty, 0 |
///
/// A lost directory still counts as open (`Open` answers `kelStatusOk` and changes nothing, `Close`
/// fails again), but the system has taken the handle back and nothing can be read through it.
///
/// Entries are bare names, files and directories alike, in the order of the system, unsorted.
/// Linux: a name is any bytes but `/`; Windows: UTF-8. What is made or removed in the directory
/// while it is read may or may not be seen; `ReadFirst` and the two lists look again.
///
/// Names of directories are taken as they are, relative to the current directory: `~` and `$NAME`
/// mean nothing here, but for `GetRelativePath`.
///
/// Failure: no operation throws but for `std::bad_alloc`; output arguments change only on success.
///
/// Threads: one object is used by one thread at a time; different objects are independent. The
/// static operations may run in any number of threads at once, but the current directory is one
/// for the whole process.
///
/// Child processes: no descriptor of this class reaches a program that the process starts.
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
    /// Makes the object and does what `Open` does. The status is not reported: `GetName` is empty
    /// when the opening failed.
    explicit kelDirectory(const zuString& name);
    /// Makes a closed object with an empty name. Nothing of `other` is taken over.
    kelDirectory(const kelDirectory& other);
    /// Closes an open directory, dropping the status.
    ~kelDirectory();
    /// Shares the open directory, the name and the position of `other`: what is done through one
    /// object is seen through both, and the last one closes. A directory that this object held
    /// alone is closed.
    kelDirectory& operator=(const kelDirectory& other);

    /// Opens the directory `name` and stands before its first entry. On an open object nothing
    /// happens and the result is `kelStatusOk`, whatever `name` is: `Close` first.
    ///
    /// @returns `kelStatusFailed` when there is no such directory, the name is that of something
    /// else, or it may not be read. The object then stays closed, with the name it had.
    int Open(const zuString& name);

    /// Closes the directory. The name stays.
    ///
    /// @returns `kelStatusNotOpen` when the object was closed already; `kelStatusFailed` when the
    /// system could not close it (see the states above).
    int Close();

    /// Goes back before the first entry and reads it into `name`. "." and ".." are entries like any
    /// other here.
    ///
    /// @returns `kelStatusOk`; `kelStatusNotOpen` on a closed object and when going back failed;
    /// `kelStatusReadFailed` when there is nothing to read. `name` changes only with `kelStatusOk`.
    int ReadFirst(zuString& name);

    /// Reads the next entry into `name`: the first one straight after `Open`.
    ///
    /// @returns `kelStatusOk`; `kelStatusNotOpen` on a closed object; `kelStatusReadFailed` at the
    /// end, every time, and after an error of the system, which looks the same. `name` changes only
    /// with `kelStatusOk`.
    int ReadNext(zuString& name);

    /// The name given to the last `Open` that succeeded; it outlives `Close`. Empty before that.
    zuString GetName() const;

    /// The names of all entries but "." and "..", from the first on, whatever was read before.
    /// Leaves the directory open at its end. An error on the way ends the list where it happens.
    /// Empty on a closed object.
    zuStlVector<zuString> GetFileNames();

    /// Reads the names of all entries of the directory `name` but "." and ".." into `names`.
    ///
    /// @returns `kelStatusOk`, with an empty list for an empty directory; `kelStatusEmptyPath` for
    /// an empty name; `kelStatusNotFound` when there is no such directory; `kelStatusAccessDenied`
    /// when it may not be read; `kelStatusReadFailed` when reading ended before the last entry;
    /// `kelStatusFailed` otherwise, as for a file. `names` changes only with `kelStatusOk`.
    static int GetFileNames(const zuString& name, zuStlVector<zuString>& names);

    /// The number of entries less two, for "." and "..", which are assumed to be there and are not
    /// looked for; 0 when there are fewer than two, and on a closed object. Leaves the directory
    /// open at its end. Windows: the root of a drive has neither, and its number is two too low.
    int GetNumberOfFiles();

    /// The names of all entries of the directory `name` but "." and "..". A directory that cannot
    /// be opened and one that is empty both give an empty list.
    static zuStlVector<zuString> GetFileNames(const zuString& name);

    /// Makes a directory.
    ///
    /// @param perms the permissions of every directory that is made, as `kelFileInfo::Permission`
    /// bits; other bits mean nothing. `kelFileInfo::PermissionDefault` gives everything. Linux:
    /// less the umask, and the set-ID bits are dropped; Windows: without effect.
    /// @param recursive makes missing parents as well and takes a directory that exists already for
    /// a success. A failure leaves the parents that were made.
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed` when the directory could
    /// not be made, when it exists already (not with `recursive`), and when something else than a
    /// directory has that name.
    static int Create(const zuString& path, int perms, bool recursive);
    /// The same. The pointer is not read and may be null.
    static int Create(const kelLibrary* library, const zuString& path, int perms, bool recursive);

    /// Makes a new, empty directory for the user of the process alone, under a name made from
    /// `nameTemplate` that nothing had before. It stays until it is removed: see `DeleteTree`.
    ///
    /// @param nameTemplate ends in at least six `X`. Linux: the last six are replaced; Windows: all
    /// trailing `X` are.
    /// @param path receives the template with the `X` replaced.
    /// @returns `kelStatusOk`; `kelStatusEmptyPath` for an empty template; `kelStatusNotFound` when
    /// a directory on the way is missing; `kelStatusAccessDenied` when it may not be written;
    /// `kelStatusFailed` otherwise, also for another end of the template.
    ///
    /// Linux: the permissions are 0700, less the umask. Windows: the access list gives the user all
    /// rights, also to what is made in the directory, and nobody else any.
    static int CreateTemporary(const zuString& nameTemplate, zuString& path);

    /// Removes one empty directory.
    ///
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed` for a directory with
    /// entries, for what is no directory (a symbolic link to one included), for what does not
    /// exist, and when the system refuses; nothing is removed then.
    static int Delete(const zuString& path);
    /// The same. The pointer is not read and may be null.
    static int Delete(const kelLibrary* library, const zuString& path);

    /// Removes a directory with everything that is in it. Symbolic links are removed themselves,
    /// and nothing outside the tree is touched, not even when somebody puts a link in the place of
    /// a directory meanwhile. Directories of another volume, mounted in the tree, stay. What cannot
    /// be removed stays, and everything else goes.
    ///
    /// Depth is not limited by the stack or by the length of a path. Programs that make files in
    /// the tree meanwhile may keep parts of it from going; the status tells.
    ///
    /// @returns `kelStatusOk` when nothing is left; `kelStatusEmptyPath` for an empty path;
    /// `kelStatusNotFound` when there is no such directory; `kelStatusFailed` when anything stayed.
    /// So do, with nothing removed, a file, a symbolic link to a directory, a root, and a path that
    /// ends in `.` or `..`.
    ///
    /// Windows: a file that somebody holds open without sharing its removal stays; read-only files
    /// go; a path in the tree may have 32766 units.
    static int DeleteTree(const zuString& path);

    /// Waits until the names in the directory are on the disk: what was made, renamed or removed
    /// there before `kelStatusOk` is so after a power cut too. The contents of files are not
    /// waited for; see `kelFile::Sync`.
    ///
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed` when there is no such
    /// directory, it may not be read, or its file system cannot promise that.
    ///
    /// Windows: a success without effect for every directory. The system has no such call for who
    /// may only use the directory; NTFS keeps names in a journal, so they are old or new as a
    /// whole, but the last ones may be lost.
    static int Sync(const zuString& path);

    /// The current directory of the process, absolute, with the platform's own separators; empty
    /// when the system cannot tell, as when it has been removed. Linux: at most 4095 bytes.
    static zuString GetCurrentDirectory();
    /// The same. The pointer is not read and may be null.
    static zuString GetCurrentDirectory(const kelLibrary* library);

    /// Makes `path` the current directory of the whole process, of all its threads.
    ///
    /// @returns `kelStatusEmptyPath` for an empty path; `kelStatusFailed` when there is no such
    /// directory or it may not be entered; the current directory is then what it was.
    static int SetCurrentDirectory(const zuString& path);
    /// The same. The pointer is not read and may be null.
    static int SetCurrentDirectory(const kelLibrary* library, const zuString& path);

    /// @name Path text
    /// Functions of the bytes alone: nothing is looked up, in the file system or elsewhere, nothing
    /// is expanded (`~` and `$NAME` are ordinary text), and every path is a valid one.
    /// @{

    /// A copy of `path`, byte for byte. Nothing is cleaned: ask `GetAbsolutePath` for that.
    static zuString CleanPath(const zuString& path);

    /// Whether `path` is not empty, begins with neither `/` nor a backslash and has no `:`
    /// anywhere. So `a/b:c` is not relative, and `~/a` is.
    static bool IsRelativePath(const zuString& path);

    /// The canonical form of `path`. `.` and `..` are worked out, repeated and trailing separators
    /// are gone.
    ///
    /// The result is rooted, but it has nothing to do with the current directory: `a/b` gives
    /// `/a/b`. The separator is `/` alone; a backslash is an ordinary byte. A path whose second
    /// byte is `:` keeps its first two bytes in front (`C:/a/..` gives `C:`), and one that begins
    /// with `//` keeps both slashes (`//host/share/`, but `//` alone gives `/`). A `..` that has
    /// nothing to remove vanishes. Only the result `/` ends in a separator; only the empty path
    /// gives an empty result.
    ///
    /// The way through a symbolic link is not seen: `link/..` is removed as text.
    static zuString GetAbsolutePath(const zuString& path);
    /// @}

    /// The way from one existing directory to another. It is made of `./`, then `../` for each
    /// level up, then the names down, each with a `/` behind it. From `/usr/lib` to `/usr/share` it
    /// is `./../share/`, from a directory to itself `./`.
    ///
    /// Both names are first expanded by `kelLibrary::GetAbsoluteFileName`, then brought to lower
    /// case, the letters of ASCII alone, and to `/` as separator; it is these texts
    /// that must name directories, and the result is made of them. So it is in lower case.
    ///
    /// Each text is then taken apart at `/`: a `..` removes the component before it, also the root;
    /// an empty component between two separators counts as a level of its own. When the first
    /// components differ (two drives, or two relative names that start differently) the result is
    /// the whole second text, without `./` in front.
    ///
    /// @returns an empty text when one of the names is not that of a directory, and when one of two
    /// different texts has no component left, such as `.`. A relative name is looked up from the
    /// current directory, but not joined to it.
    ///
    /// Linux: a directory with an upper-case letter in its path is not found, since the text in
    /// lower case is another name. A symbolic link to a directory is no directory, unless a `/`
    /// stands behind its name.
    static zuString GetRelativePath(const zuString& from, const zuString& to);

    /// @name Under the names that windows.h makes of calls to two of the above
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
