#pragma once

#include "kelExport.h"
#include "zuString.h"

class kelLibrary;
struct kelFileInfoRecord;

/// The parts of a file's name, and the file's metadata: kind, size, times, permissions.
///
/// The metadata comes from one query of the file, made when it is first needed. Making the object
/// touches no file, and the file need not exist.
///
/// | State    | entered by                  | a metadata value                                   |
/// |----------|-----------------------------|----------------------------------------------------|
/// | empty    | construction, copying       | makes the query                                    |
/// | empty    | a query that failed         | makes the query again                              |
/// | filled   | a query that succeeded      | comes from that query, however the file changes    |
///
/// There is no refresh: for current metadata make a new object, or a copy, which begins empty.
///
/// Failure: no operation throws except `std::bad_alloc`; a failed query is reported by the failure
/// value alone (-1, or `NoFile`). A missing file and a directory that is not searchable look the
/// same.
///
/// Linux: the metadata is that of a symbolic link itself, not of its target, unless its name ends
/// in `/` or the object was made with `LinksFollowed`. The file is not opened, and need not be
/// readable. Windows: the file is opened without access to its contents.
///
/// Threads: one thread at a time may use an object, const operations included, because they fill
/// it; different objects are independent.
///
/// @code
/// const kelFileInfo info("notes/today.txt");
/// if (info.GetType() == kelFileInfo::RegularFile) {
///     std::printf("%s: %d bytes\n", info.GetFileName().c_str(), info.GetSize());
/// }
/// // prints: today.txt: 11 bytes
/// @endcode
class KEL_API kelFileInfo {
public:
    /// The kinds of file.
    enum FileType : int {
        NoFile = 0,       ///< There is none, or the query failed.
        RegularFile = 1,  ///< Plain contents.
        Directory = 2,    ///< A directory.
        Pipe = 3,         ///< A named pipe.
        Link = 4,         ///< A symbolic link.
        Socket = 5,       ///< A socket.
        OtherFile = 127   ///< A device, or a kind without a number here.
    };

    /// The bits of a permission mask, wherever the library takes or returns one. Each class of user
    /// has a hexadecimal digit of its own: what a shell calls 0755 is 0x755 here. The values are
    /// those of APR's `APR_FPROT_` constants.
    ///
    /// |               | read   | write  | execute |
    /// |---------------|--------|--------|---------|
    /// | owner         | 0x0400 | 0x0200 | 0x0100  |
    /// | group         | 0x0040 | 0x0020 | 0x0010  |
    /// | everyone else | 0x0004 | 0x0002 | 0x0001  |
    enum Permission : int {
        PermissionOwnerRead = 0x0400,
        PermissionOwnerWrite = 0x0200,
        PermissionOwnerExecute = 0x0100,
        PermissionGroupRead = 0x0040,
        PermissionGroupWrite = 0x0020,
        PermissionGroupExecute = 0x0010,
        PermissionOthersRead = 0x0004,
        PermissionOthersWrite = 0x0002,
        PermissionOthersExecute = 0x0001,
        PermissionSetUser = 0x8000,   ///< Runs as the file's owner.
        PermissionSetGroup = 0x4000,  ///< Runs as the file's group.
        PermissionSticky = 0x2000,    ///< Directory: only its owner removes an entry.
        PermissionDefault = 0x0FFF,  ///< Complete value, as an argument only: the system's default.
        PermissionOfSource = 0x1000  ///< Complete value, for a copy only: those of the source.
    };

    /// Keeps the name and makes no query. The name is any bytes, used as it is (nothing is
    /// expanded) and relative to the current directory at the time of the query. Throws
    /// `std::bad_alloc`.
    explicit kelFileInfo(const zuString& name);
    /// The same. The pointer is not read and may be null.
    kelFileInfo(kelLibrary* library, const zuString& name);
    /// Whether the metadata is that of a symbolic link itself or of its target.
    enum LinkMode : int { LinksThemselves = 0, LinksFollowed = 1 };
    /// As with the name alone. With `LinksFollowed` symbolic links are followed; a dangling link
    /// counts as a missing file.
    kelFileInfo(const zuString& name, LinkMode mode);
    /// Copies the name and the mode only; the metadata is queried again.
    kelFileInfo(const kelFileInfo& other);
    ~kelFileInfo();
    /// Shares the name and the metadata of `other`: a query through one object serves both.
    kelFileInfo& operator=(const kelFileInfo& other);

    /// Does nothing. The pointer is not read and may be null.
    void SetLibrary(kelLibrary* library);

    /// @name Parts of the name
    /// Separators are `/`, the backslash and `:`. The parts are taken from the text alone; only
    /// `GetFileExtension` queries the file too.
    ///
    /// | name            | `GetPath` | `GetFileName`  | `GetBaseName` | `GetFileExtension` |
    /// |-----------------|-----------|----------------|---------------|--------------------|
    /// | `dir/name.txt`  | `dir/`    | `name.txt`     | `name`        | `txt`              |
    /// | `name.tar.gz`   |           | `name.tar.gz`  | `name.tar`    | `gz`               |
    /// | `C:name.txt`    | `C:`      | `name.txt`     | `name`        | `txt`              |
    /// | `dir/.profile`  | `dir/`    | `.profile`     | `.profile`    | `profile`          |
    /// | `name.`         |           | `name.`        | `name`        |                    |
    /// | `dir/`          | `dir/`    |                |               |                    |
    /// @{

    /// The name given to the constructor.
    zuString GetFilePath() const;
    /// Everything up to and including the last separator; empty without one.
    zuString GetPath() const;
    /// Everything after the last separator.
    zuString GetFileName() const;
    /// The file name up to its last dot. A name whose only dot is its first byte is returned whole.
    zuString GetBaseName() const;
    /// The text after the last dot of the last component. Only `/` and backslash separate here, and
    /// a leading dot counts (`.profile` gives `profile`). Empty for a directory, which the query
    /// shows; a file whose query fails has its extension all the same.
    zuString GetFileExtension() const;
    /// @}

    /// @name Metadata
    /// Times are microseconds since 1970-01-01 00:00:00 UTC.
    /// @{

    /// The kind of file; `NoFile` on failure.
    FileType GetType() const;
    /// The low 32 bits of the size in bytes: negative from 2 GiB up to 4 GiB, and small again from
    /// there. Linux: the size of a link is the length of its text. -1 on failure.
    int GetSize() const;
    /// When the file was created; -1 on failure. Linux: when its contents or its metadata (name,
    /// owner, permissions, links) last changed.
    long long GetCreationTime() const;
    /// When the contents were last read, as far as the file system records it; -1 on failure.
    long long GetLastAccessTime() const;
    /// When the contents last changed; -1 on failure.
    long long GetLastModifiedTime() const;
    /// A mask of `Permission` bits; -1 on failure. Windows: needs a query of its own, made at the
    /// first call; 0 if that fails, and the next call tries again. The bits come from the access
    /// list alone, without other groups that a user is in; a read-only file has no write bits.
    int GetPermissions() const;
    /// 0 if the file's owner is known, -1 if not. For the identifier see `GetOwnerNumber`.
    int GetUserId() const;
    /// 0 if the file's group is known, -1 if not. For the identifier see `GetGroupNumber`.
    int GetGroupId() const;
    /// The full size in bytes, of which `GetSize` returns the low 32 bits. -1 on failure.
    long long GetLength() const;
    /// The number of names (hard links) of the file; -1 on failure. Linux: for a directory,
    /// whatever its file system counts.
    long long GetLinkCount() const;
    /// The identifier of the file's owner; -1 on failure. Windows: always -1, since an owner has no
    /// number.
    long long GetOwnerNumber() const;
    /// The identifier of the file's group; otherwise as `GetOwnerNumber`.
    long long GetGroupNumber() const;
    /// @}

private:
    kelFileInfoRecord* record_;
};
