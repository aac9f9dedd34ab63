#pragma once

#include "kelExport.h"
#include "zuString.h"

class kelLibrary;
struct kelFileInfoRecord;

/// One file's name, taken apart, and what the system knows of the file: kind, size, times,
/// permissions.
///
/// The facts come from one query of the file, made when they are first asked for: building the
/// object touches no file, which need not exist.
///
/// | State    | entered by                  | a fact that is asked for                           |
/// |----------|-----------------------------|----------------------------------------------------|
/// | nothing  | construction, copying       | makes the query                                    |
/// | nothing  | a query that failed         | makes the query again                              |
/// | answered | a query that gave something | comes from that query, however the file changes    |
///
/// There is no refresh: for fresh facts make a new object, or a copy, which begins with nothing.
///
/// Failure: no operation throws but for `std::bad_alloc`; a fact that cannot be had shows in the
/// failure value alone (-1, or `NoFile`). A missing file and a directory on the way that may not be
/// searched look alike.
///
/// Linux: a symbolic link is described itself, not what it points to, unless a `/` stands behind
/// its name or the object was made with `LinksFollowed`. The file is not opened, and no right to
/// read it is needed. Windows: the file is opened without access to its contents.
///
/// Threads: one object is used by one thread at a time, also for mere questions, because they fill
/// the object in; different objects are independent.
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
        NoFile = 0,       ///< There is none, or nothing could be learnt of it.
        RegularFile = 1,  ///< Plain contents.
        Directory = 2,    ///< A directory.
        Pipe = 3,         ///< A named pipe.
        Link = 4,         ///< A symbolic link.
        Socket = 5,       ///< A socket.
        OtherFile = 127   ///< A device, or a kind without a number here.
    };

    /// The bits of a permission word, wherever the library takes or gives one. Each class of user
    /// has a hexadecimal digit of its own: what a shell calls 0755 is 0x755 here. The values are
    /// those of the runtime's `APR_FPROT_` words.
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
        PermissionDefault = 0x0FFF,   ///< A whole word, to give only: what the system sets itself.
        PermissionOfSource = 0x1000   ///< A whole word, for a copy only: those of the source.
    };

    /// Keeps the name; makes no query. It is any bytes, used as it stands (nothing is expanded) and
    /// relative to the current directory at the time of the query. Throws `std::bad_alloc`.
    explicit kelFileInfo(const zuString& name);
    /// The same. The pointer is not read and may be null.
    kelFileInfo(kelLibrary* library, const zuString& name);
    /// Whether a symbolic link is described itself, or what it leads to.
    enum LinkMode : int { LinksThemselves = 0, LinksFollowed = 1 };
    /// The same as with the name alone; with `LinksFollowed` the facts are those of the file that
    /// the name leads to through symbolic links, and of no file when it leads nowhere.
    kelFileInfo(const zuString& name, LinkMode mode);
    /// Makes an object on the same name, with the same mode, that has asked nothing yet.
    kelFileInfo(const kelFileInfo& other);
    ~kelFileInfo();
    /// Shares the name and the facts of `other`: a query through one object answers for both.
    kelFileInfo& operator=(const kelFileInfo& other);

    /// Does nothing. The pointer is not read and may be null.
    void SetLibrary(kelLibrary* library);

    /// @name Parts of the name
    /// Separators are `/`, the backslash and `:`. The parts are those of the text; only
    /// `GetFileExtension` asks the system.
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
    /// Up to the last separator, which is part of it; empty without one.
    zuString GetPath() const;
    /// What follows the last separator.
    zuString GetFileName() const;
    /// The file name up to its last dot. A name whose only dot is its first byte is whole.
    zuString GetBaseName() const;
    /// What follows the last dot in the part behind the last `/` or backslash: a colon does not
    /// count here, and neither does it matter that a dot comes first. Empty for a directory, which
    /// is found out by the query; a file that cannot be queried has its extension all the same.
    zuString GetFileExtension() const;
    /// @}

    /// @name Facts
    /// Times are microseconds since 1970-01-01 00:00:00 universal time.
    /// @{

    /// The kind of file; `NoFile` on failure.
    FileType GetType() const;
    /// The size in bytes, its low 32 bits: negative from 2 GiB up to 4 GiB, and small again from
    /// there. Linux: of a link, the length of what it holds. -1 on failure.
    int GetSize() const;
    /// When the file was made; -1 on failure. Linux: when its contents or its properties (name,
    /// owner, permissions, links) last changed.
    long long GetCreationTime() const;
    /// When the contents were last read, as far as the file system keeps that; -1 on failure.
    long long GetLastAccessTime() const;
    /// When the contents last changed; -1 on failure.
    long long GetLastModifiedTime() const;
    /// A word of `Permission` bits; -1 on failure. Windows: asked apart on the first call, and
    /// again after a failure, which gives 0 then; as the access list tells them by itself, without
    /// the other groups that a user is in, and without the right to write for a read-only file.
    int GetPermissions() const;
    /// 0 when the file's owner is known, -1 when not. The identifier itself is not told.
    int GetUserId() const;
    /// 0 when the file's group is known, -1 when not. The identifier itself is not told.
    int GetGroupId() const;
    /// The size in bytes, whole, where `GetSize` reports its low 32 bits. -1 on failure.
    long long GetLength() const;
    /// How many names (hard links) the file has; -1 on failure. Linux: of a directory, what its
    /// file system counts.
    long long GetLinkCount() const;
    /// The identifier of the file's owner; -1 on failure. Windows: -1, an owner has no number.
    long long GetOwnerNumber() const;
    /// The identifier of the file's group; otherwise as `GetOwnerNumber`.
    long long GetGroupNumber() const;
    /// @}

private:
    kelFileInfoRecord* record_;
};
