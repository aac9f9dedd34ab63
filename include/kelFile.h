#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelFileRecord;

// <windows.h> defines a macro of this name. It must not rename the member, wherever that header is
// included: for calls that the macro renames there are aliases at the end of the class.
#pragma push_macro("CreateSymbolicLink")
#undef CreateSymbolicLink

/// One file: opened by name, read and written as typed values, blocks or lines, and closed; and
/// operations on files by name.
///
/// | State  | `IsOpen` | entered by                                     | data operations     |
/// |--------|----------|------------------------------------------------|---------------------|
/// | closed | false    | construction, failed open, `Close`             | `kelStatusFailed`   |
/// | open   | true     | `Open` or `CreateTemporaryFile` that succeeded | see each operation  |
///
/// `Open` and `CreateTemporaryFile` are allowed in both states. On an open object they abandon the
/// earlier file without closing it: its buffer is written out and its descriptor closed when the
/// object is destroyed. Call `Close` first if that is too late, or if its status matters.
///
/// Failure: no operation throws except `std::bad_alloc`. Output arguments change only on success,
/// unless an operation says otherwise. Every operation that needs an open file returns
/// `kelStatusFailed` on a closed object and changes nothing.
///
/// Threads: one thread at a time may use an object, or objects that share a file by assignment. All
/// others are independent.
///
/// Child processes: no started program inherits a descriptor of this class (Linux: it is
/// close-on-exec from its creation). In a forked copy of the process, destroying an object writes
/// no buffer and removes no file of the parent; `Close` and `Flush` work as usual.
///
/// Signals: a handled signal does not interrupt an operation; reads and writes continue after it.
///
/// @code
/// kelFile out("list.txt", kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate);
/// if (out.WriteLine("milk\nbread\n") != kelStatusOk || out.Close() != kelStatusOk) {
///     return 1;  // not opened, or not completely written
/// }
/// kelFile in("list.txt", kelFile::ModeRead | kelFile::ModeBuffered);
/// char line[1024];
/// while (in.ReadLine(line, sizeof line) == kelStatusOk) {
///     std::fputs(line, stdout);
/// }
/// // prints: milk
/// // prints: bread
/// @endcode
class KEL_API kelFile {
public:
    /// The bits of the open mode. Values and meaning are those of APR's `APR_FOPEN_` flags;
    /// `APR_FOPEN_NONBLOCK` may be given as well.
    enum OpenMode : int {
        ModeRead = 0x00001,    ///< Open for reading.
        ModeWrite = 0x00002,   ///< Open for writing.
        ModeCreate = 0x00004,  ///< Create the file if it does not exist.
        /// Every write goes to the end of the file, whoever else writes to it.
        ModeAppend = 0x00008,
        ModeTruncate = 0x00010,   ///< Truncate an existing file.
        ModeBinary = 0x00020,     ///< No text translation; neither Linux nor Windows does any.
        ModeExclusive = 0x00040,  ///< With `ModeCreate`: fail if the file exists.
        ModeBuffered = 0x00080,   ///< Gather small reads and writes in a buffer of 16 KiB.
        /// Remove the file when it is closed. Linux: removes whatever has this name at that time; a
        /// relative name is resolved against the current directory at the close. Windows: removes
        /// the opened file itself.
        ModeDeleteOnClose = 0x00100,
        ModeThreadSafe = 0x00200,  ///< No effect: one thread at a time uses an object.
        ModeShareLock = 0x00400,   ///< Windows: other processes may lock ranges of the file.
        ModeNoCleanup =
            0x00800,  ///< An abandoned handle (see above) is never closed, nor its buffer written.
        ModeSendfile = 0x01000,  ///< No effect.
        ModeSparse = 0x08000     ///< Windows: mark the file sparse.
    };

    /// Makes a closed object with an empty name. Throws `std::bad_alloc` without memory.
    kelFile();
    /// The same. The pointer is not read and may be null.
    explicit kelFile(kelLibrary* library);
    /// Makes the object and calls `Open`. The status is not reported: see `IsOpen`.
    kelFile(const zuString& name, int mode);
    /// Makes a closed object with an empty name. Nothing of `other` is taken over.
    kelFile(const kelFile& other);
    /// Closes an open file and ignores the status: call `Close` to learn of a failed last write.
    ~kelFile();
    /// Shares the open file, the name and the position of `other`: both objects see what is done
    /// through either, and the last one closes the file. A file that only this object held is
    /// closed.
    kelFile& operator=(const kelFile& other);

    /// Opens the file `name`, relative to the current directory, with `mode` made of `OpenMode`
    /// bits. A new file gets the system's default permissions (Linux: 0666 less the umask).
    ///
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusNotFound`: the file, or a directory of its path, does not exist;
    /// - `kelStatusAccessDenied`: the system refuses, or `mode` has neither `ModeRead` nor
    ///   `ModeWrite`, or `ModeExclusive` without `ModeCreate`;
    /// - `kelStatusFailed`: any other failure.
    ///
    /// After a failure the object is closed and its name empty.
    ///
    /// Linux: the name is any bytes. A directory opens with `ModeRead` alone, and every read of it
    /// fails. Windows: the name is UTF-8. In a process with a single-byte code page an existing
    /// file is opened through its short (8.3) name.
    int Open(const zuString& name, int mode);

    /// Writes out a buffered file and closes it. The name stays.
    ///
    /// @returns `kelStatusFailed` if the object was closed already, or if writing out the buffer or
    /// closing failed. The object is closed in any case, and what could not be written is lost.
    int Close();

    /// Whether a file is open.
    bool IsOpen() const;

    /// The name of the open file as the caller gave it, or that of the temporary file. `Close`
    /// keeps it. Empty before the first opening and after a failed one.
    zuString GetFileName() const;

    /// Creates a new file with a name made from `nameTemplate` and opens it for reading and
    /// writing, unbuffered. The file is removed when it is closed, even if the template was
    /// relative and the current directory has changed since.
    ///
    /// @param nameTemplate must end in at least six `X`; only its first 127 bytes are used. Linux:
    /// the last six `X` are replaced. Windows: all trailing `X` are.
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusAccessDenied`: the directory is not writable, or a directory between the root
    ///   and it is not searchable;
    /// - `kelStatusFailed`: any other failure, including a missing directory and an absolute name
    ///   beyond the system's limit.
    ///
    /// After a failure the object is closed and its name empty.
    int CreateTemporaryFile(const zuString& nameTemplate);

    /// @name Typed values
    /// A value is stored as its bytes in memory, in the machine's byte order, without a header or
    /// padding. The sizes are the same on every platform:
    /// - 1 byte: `char`;
    /// - 2 bytes: `short`, `unsigned short`, `wchar_t`;
    /// - 4 bytes: `int`, `unsigned int`, `long`, `unsigned long`, `float`;
    /// - 8 bytes: `double`.
    ///
    /// `Read` returns `kelStatusFailed` and leaves `value` unchanged if nothing could be read, also
    /// at the end of the file (see `EndOfFile`). If the file ends within the value, `Read` returns
    /// `kelStatusOk` and only the leading bytes of `value` have changed. A complete `long` is
    /// sign-extended to the platform's width, a complete `unsigned long` or `wchar_t`
    /// zero-extended.
    ///
    /// `Write` of a `long`, `unsigned long` or `wchar_t` that does not fit the width in the file
    /// returns `kelStatusFailed` and writes nothing. A buffered value is taken whole or not at all.
    /// Of an unbuffered one a device that runs full may take a part, with `kelStatusOk`; the block
    /// form reports how much.
    /// @{

    /// Reads or writes one value, as described above.
    int Read(char& value);
    int Read(short& value);
    int Read(unsigned short& value);
    int Read(wchar_t& value);
    int Read(int& value);
    int Read(unsigned int& value);
    int Read(long& value);
    int Read(unsigned long& value);
    int Read(float& value);
    int Read(double& value);
    int Write(char value);
    int Write(short value);
    int Write(unsigned short value);
    int Write(wchar_t value);
    int Write(int value);
    int Write(unsigned int value);
    int Write(long value);
    int Write(unsigned long value);
    int Write(float value);
    int Write(double value);
    /// @}

    /// @name Blocks
    /// Raw bytes, whatever the type of the pointer: `size` counts bytes, not elements. On return,
    /// also after a failure, it is the number of bytes transferred. A read that gets only some of
    /// the bytes succeeds. A read that gets none, at the end of the file or by an error, returns
    /// `kelStatusFailed` with `size` 0. Reading 0 bytes succeeds.
    ///
    /// An unbuffered write may be short with `kelStatusOk` (Linux transfers at most 2 GiB less 4
    /// KiB in one call): continue with the rest. A buffered write is complete unless it fails;
    /// `size` is then the exact number of bytes that reached the file or the buffer.
    /// @{

    /// Reads into or writes from `size` bytes at `buffer`, as described above.
    int Read(char* buffer, unsigned long long& size);
    int Read(short* buffer, unsigned long long& size);
    int Read(unsigned short* buffer, unsigned long long& size);
    int Read(wchar_t* buffer, unsigned long long& size);
    int Read(int* buffer, unsigned long long& size);
    int Read(unsigned int* buffer, unsigned long long& size);
    int Read(long* buffer, unsigned long long& size);
    int Read(unsigned long* buffer, unsigned long long& size);
    int Read(float* buffer, unsigned long long& size);
    int Read(double* buffer, unsigned long long& size);
    int Write(const char* buffer, unsigned long long& size);
    int Write(const short* buffer, unsigned long long& size);
    int Write(const unsigned short* buffer, unsigned long long& size);
    int Write(const wchar_t* buffer, unsigned long long& size);
    int Write(const int* buffer, unsigned long long& size);
    int Write(const unsigned int* buffer, unsigned long long& size);
    int Write(const long* buffer, unsigned long long& size);
    int Write(const unsigned long* buffer, unsigned long long& size);
    int Write(const float* buffer, unsigned long long& size);
    int Write(const double* buffer, unsigned long long& size);
    /// @}

    /// Reads up to and including the next line feed, at most `size` - 1 bytes, and appends a NUL.
    /// The line feed stays in the text, and so does a carriage return before it. A longer line is
    /// returned in pieces. The last line may have no line feed.
    ///
    /// @param buffer room for `size` bytes.
    /// @param size at least 1, at most 2^31 - 1: only its low 32 bits count. With 1 the text is
    /// empty, with 0 nothing is written; neither reads anything, and both return `kelStatusOk`.
    /// @returns `kelStatusFailed` at the end of the file or after an error; `buffer` then holds an
    /// empty text.
    ///
    /// A line that contains a NUL looks like a shorter one: read such a file in blocks.
    ///
    /// An unbuffered line costs two or three system calls. From a pipe or a terminal it costs one
    /// for each byte, so that the bytes after the line remain for the next reader.
    int ReadLine(char* buffer, unsigned long long size);

    /// Writes the bytes of `text` up to its NUL. No line feed is added.
    ///
    /// @param text not null.
    /// @returns `kelStatusFailed` if not all of it reached the file or the buffer. When buffered, a
    /// text of up to 16 KiB is taken whole or not at all.
    int WriteLine(const char* text);

    /// Writes out a buffer, then moves the position to `offset` bytes from the start. A position
    /// beyond the end is allowed; a later write fills the gap with zeros. `kelStatusFailed` for a
    /// negative offset, an unbuffered pipe, or a buffer that cannot be written.
    int SeekTo(long long offset);
    /// Moves the position to the start of the file. Fails as `SeekTo` does.
    int SeekToBegin();
    /// Moves the position to the end of the file. Fails as `SeekTo` does.
    int SeekToEnd();

    /// Whether a read has reached the end of the file. True on a closed object, and from the read
    /// that reached the end until the next seek, even if the file has grown since or the seek
    /// fails. A read reaches the end if it gets nothing; a line or a buffered read also if it gets
    /// less than it asked for. A read that ends exactly at the last byte does not count. After any
    /// other failure: false until an operation succeeds.
    bool EndOfFile();

    /// Hands the buffer of a file opened with `ModeBuffered` to the system; on any other file it
    /// succeeds without effect. The data is not synced to disk. After a failure the buffer keeps
    /// what the system has not taken, and nothing is written twice.
    int Flush();

    /// Writes out a buffer and waits until everything that was written to the file is on disk: a
    /// power cut after `kelStatusOk` loses nothing of it. The name of a new file is on disk only
    /// after `kelDirectory::Sync` of its directory. After a failure it is unknown what has reached
    /// the disk, and a second `Sync` does not show it: write the data again, to another file.
    /// `Sync` of a pipe or a terminal fails. Windows: `Sync` of a file opened without `ModeWrite`
    /// needs the right to write it.
    int Sync();

    /// @name Positions and lengths
    /// Offsets and lengths count bytes. None of these changes what `EndOfFile` reports.
    /// @{

    /// Reports the position of the next read or write, counted from the start of the file, without
    /// writing out a buffer. With `ModeAppend`, that is the end of the file while the buffer holds
    /// bytes to be written. `kelStatusFailed` for a pipe or a terminal.
    int GetPosition(long long& position);

    /// Reports the length of the file, including what the buffer holds beyond its end, without
    /// writing out the buffer. `kelStatusFailed` for anything but a regular file.
    int GetLength(long long& length);

    /// Writes out a buffer, then truncates the file or extends it with zeros. The position stays
    /// where it is, even beyond the new end. `kelStatusFailed`, with the length as before, if
    /// `length` is negative, the file is not open for writing, or the system refuses. Linux: the
    /// system also refuses a length beyond the process's limit, which raises no SIGXFSZ here.
    int SetLength(long long length);

    /// Reads `size` bytes at `offset` into `buffer`, or as many as there are before the end of the
    /// file; the position stays. Fewer bytes with `kelStatusOk` mean the end of the file (0 at and
    /// beyond it), so threads need not share an `EndOfFile`.
    ///
    /// Threads: without `ModeBuffered`, any number of threads may use `ReadAt` and `WriteAt` on one
    /// object at once, as long as no other operation runs on it. A read of bytes that another
    /// thread is writing may return some of the new ones. With `ModeBuffered`, one thread at a
    /// time: a buffer is written out first, so that the read returns everything written before.
    ///
    /// @param size receives the number of bytes read, also after a failure.
    /// @returns `kelStatusFailed` if `offset` is negative, reading fails, or the file has no
    /// positions, as a pipe has none.
    int ReadAt(long long offset, void* buffer, unsigned long long& size);

    /// Writes `size` bytes from `buffer` at `offset`, directly to the system; the position stays. A
    /// gap beyond the former end is filled with zeros. For threads see `ReadAt`. With
    /// `ModeBuffered` a buffer is written out first, and what was read ahead is read again.
    ///
    /// @param size receives the number of bytes written, also after a failure.
    /// @returns `kelStatusOk` if all of it was written; `kelStatusFailed` otherwise, and always
    /// with `ModeAppend`, with which every write goes to the end.
    int WriteAt(long long offset, const void* buffer, unsigned long long& size);
    /// @}

    /// The kinds of lock.
    enum LockKind : int {
        LockShared = 0,    ///< Others may share it.
        LockExclusive = 1  ///< Nobody else has a lock.
    };

    /// Locks the whole file against other processes, and against other openings of the file in this
    /// one. The lock is advisory: it prevents nobody from reading, writing, renaming or removing
    /// the file. It ends with `Unlock`, when the file is closed, and with the process, however that
    /// ends. Closing another object on the same file does not end it. Started programs do not
    /// inherit it.
    ///
    /// An object has one lock at most: to change its kind, `Unlock` first. Deadlocks between
    /// programs are not detected.
    ///
    /// @param kind `LockShared` needs `ModeRead`, `LockExclusive` needs `ModeWrite`.
    /// @param microseconds how long to wait for others: 0 tries once, a negative number waits for
    /// ever. A limited wait polls, up to 16 ms apart, so one without a limit may get the lock
    /// first.
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusBusy`: somebody else still holds the lock at the end of that time;
    /// - `kelStatusFailed`: any other failure, including a file system without locks and an object
    ///   that already has a lock.
    ///
    /// Linux: an open-file-description lock (`F_OFD_SETLK`), which conflicts with those of `fcntl`,
    /// not of `flock`. A forked copy of the process shares it. It ends when the process that took
    /// it closes the file or, if that process ended without a close, when its last forked copy
    /// closes or ends. Windows: a lock of one byte beyond all contents; with `ModeAppend` it needs
    /// `ModeRead` too.
    int Lock(LockKind kind, long long microseconds);

    /// Releases the lock of this object; `kelStatusFailed` if it has none. A buffer is written out
    /// first, so that the next holder of the lock sees it; if that fails the lock stays.
    int Unlock();

    /// Whether the system would let this process read the file of this object's name now, whatever
    /// its mode bits alone suggest. The file need not be open: after `Close` the name is tested.
    /// False for an empty name. Linux: tested for the effective user, so root may read everything;
    /// true for a directory that may be listed.
    bool IsReadable() const;
    /// Whether the file of this object's name may be written; otherwise as `IsReadable`. Linux:
    /// false on a file system mounted read-only, even for root. Windows: false for a read-only
    /// file.
    bool IsWritable() const;

    /// @name Operations on files by name
    /// Names are relative to the current directory and used as they are: `~` and `$NAME` are not
    /// expanded. An empty name is refused before anything is done:
    /// - `kelStatusEmptySource`: the source name is empty;
    /// - `kelStatusEmptyTarget`: the target name is empty;
    /// - `kelStatusEmptyPath`: the only name of the operation is empty.
    ///
    /// Every other failure is `kelStatusFailed`, unless an operation says otherwise. The forms with
    /// a `kelLibrary` pointer do the same: the pointer is not read and may be null. Any number of
    /// threads may run these operations at once.
    /// @{

    /// Copies the contents of the file `from` to the file `to`, which is created or overwritten.
    ///
    /// @param perms permissions of a newly created target, as `kelFileInfo::Permission` bits or
    /// `kelFileInfo::PermissionDefault`, less the umask; an existing target keeps its own. With
    /// `kelFileInfo::PermissionOfSource` the target, new or not, gets those of the source, whatever
    /// the umask.
    ///
    /// An existing target is overwritten in place: it stays the same file, with its owner and its
    /// hard links, and a symbolic link as target is followed. The copy returns `kelStatusFailed`
    /// before it touches anything if
    /// - the source is a directory or cannot be read;
    /// - the target is not writable;
    /// - both names lead to the same file.
    ///
    /// If reading or writing fails later, as on a full file system, the target is truncated and
    /// removed, unless it is a device or a pipe. A program that is killed during the copy leaves a
    /// partial target: copy to another name and `Rename` it where that matters.
    ///
    /// Linux: holes of a sparse file stay holes. On a file system whose files can share blocks
    /// (Btrfs, XFS) a large copy shares those of the source until one of the two is written. A pipe
    /// as source is read until its writers have closed it. A target beyond the process's file size
    /// limit fails and raises no SIGXFSZ; a pipe that has lost its reader fails and raises no
    /// SIGPIPE.
    ///
    /// Linux: `PermissionOfSource` also copies the POSIX access list. Where the target's file
    /// system has none, the permissions leave out what the list alone allowed, so nobody gets more
    /// access than the source grants. Set-user-ID (set-group-ID) is copied only if both files have
    /// the same owner (group). If the caller owns a target that is not writable, its owner first
    /// gets the source's permissions. `PermissionOfSource` has no effect on devices and pipes. A
    /// failure to set it is ignored if the target belongs to another user or its file system has no
    /// permissions.
    static int Copy(const zuString& from, const zuString& to, int perms);
    /// The same. The pointer is not read and may be null.
    static int Copy(const kelLibrary* library, const zuString& from, const zuString& to, int perms);

    /// Copies a file as the platform's own copy does: contents, permissions and modification time.
    /// Otherwise as `Copy` with `PermissionOfSource`, but a target that is not writable is a
    /// failure. The modification time is kept to the nanosecond where the file system can.
    ///
    /// @param perms exactly `kelFileInfo::PermissionDefault`: afterwards the target is made
    /// writable for its owner, even if the copy failed, but not if both names lead to the same
    /// file. Any other value has no effect.
    static int NativeCopy(const zuString& from, const zuString& to, int perms);

    /// Renames the file or directory `from` to `to`, replacing a file of that name. On one file
    /// system the replacement is atomic.
    ///
    /// A file or symbolic link also moves to another file system, whole or not at all:
    /// 1. it is copied to a new file beside the target;
    /// 2. the new file gets the source's permissions and times, and its owner, access list and
    ///    extended attributes where the system allows it (without the list the permissions are
    ///    those of `Copy`);
    /// 3. the new file is synced to disk, and then renamed to the target's name;
    /// 4. only then is the source removed.
    ///
    /// After a failure the source is untouched, and so is a file that had the target's name.
    /// Directories, pipes and devices do not move to another file system.
    ///
    /// The move also fails if the source is changed, or replaced by another file, before it is
    /// removed: nothing that was written to it is lost. Linux: a program that opens the source for
    /// writing meanwhile waits for the end of the move, for 45 seconds at most (with O_NONBLOCK the
    /// opening fails), and the move fails. That needs a lease on the source. Where the system
    /// refuses one, a change is detected by size and modification time:
    /// - it refuses for a source of another user, on some network file systems, and while a program
    ///   has the source open for writing;
    /// - a write that changes neither, within one tick of the file system's clock, goes unnoticed;
    /// - so does a write through a descriptor that is still open while the source is removed.
    ///
    /// A file whose name begins with `.zukel-` may remain: beside the target a partial copy or the
    /// former target, beside the source the source itself. That happens if
    /// - the program is killed during the move;
    /// - the file system refuses to remove or rename a file;
    /// - a program creates a new file with the source's name just as the move is undone.
    ///
    /// If both names are those of one file, nothing happens, and the result is `kelStatusOk`.
    ///
    /// Windows: a target that is open is replaced only if it was opened with FILE_SHARE_DELETE, as
    /// this library opens files, and its volume has POSIX semantics (Windows 10, NTFS). A move to
    /// another volume copies alternate streams, or fails; it does not copy access lists.
    static int Rename(const zuString& from, const zuString& to);
    /// The same. The pointer is not read and may be null.
    static int Rename(const kelLibrary* library, const zuString& from, const zuString& to);

    /// The platform's own rename. Linux: replaces a file of that name atomically, and never moves
    /// to another file system. Windows: the same, but fails if the target exists.
    static int NativeRename(const zuString& from, const zuString& to);

    /// Renames the file or directory `from` to `to` as `NativeRename` does, but only if nothing has
    /// that name; test and rename are one atomic step.
    ///
    /// @returns `kelStatusExists`, with nothing done, if something has the name `to`, even `from`
    /// itself or a dangling symbolic link; `kelStatusFailed` otherwise, also for names on two file
    /// systems. Windows: names that differ in case alone are one name, which gets the case of `to`.
    ///
    /// Linux: uses `renameat2`. Where that is missing, a file gets its second name before it loses
    /// the first. Both may be seen for a moment, and remain if the program is killed just then. A
    /// directory is refused there.
    static int RenameNew(const zuString& from, const zuString& to);

    /// Reads a whole file, up to wherever its end is when that is reached.
    ///
    /// @param contents receives the bytes.
    /// @returns `kelStatusNotFound`, `kelStatusAccessDenied` and `kelStatusFailed` as `Open` does;
    /// `kelStatusFailed` also for a directory, and if reading fails.
    static int ReadWhole(const zuString& name, zuString& contents);

    /// Replaces the contents of a file atomically, or creates it. Whatever fails, and whenever the
    /// process is killed or the machine loses power, the name has either the old contents or the
    /// new ones. With `kelStatusOk` the new ones are on disk.
    ///
    /// The contents are written to a new file beside the old one, which then takes its name. The
    /// new file gets the old one's permissions, except for set-ID bits, which any write clears. It
    /// also gets the access list, owner, group and extended attributes where the system allows it,
    /// and grants nobody more than the old file did. Other hard links of the old file keep the old
    /// contents, and so do programs that have it open. A symbolic link stays, and its target is
    /// replaced. A file that did not exist gets the system's default permissions.
    ///
    /// A program that is killed during the operation may leave a file whose name begins with
    /// `.zukel-` in the directory. If several programs replace one file at once, the last one wins.
    ///
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusNotFound`: a directory of the path is missing;
    /// - `kelStatusAccessDenied`: the file is not writable, or its directory not writable or
    ///   readable;
    /// - `kelStatusFailed`: any other failure, also for anything but a regular file.
    ///
    /// After a failure the file has the old contents, unless only the last sync to disk has failed.
    ///
    /// Windows: the access list and the attributes are copied, and the owner is the caller. A file
    /// that is open without FILE_SHARE_DELETE is not replaced, and a dangling symbolic link is a
    /// failure.
    static int ReplaceWhole(const zuString& name, const zuString& contents);

    /// Creates a symbolic link `name` that points to `target`. The target need not exist; a
    /// relative one is resolved against the directory of the link.
    ///
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusEmptyTarget`, `kelStatusEmptyPath`: `target` or `name` is empty;
    /// - `kelStatusExists`: something has the name, and nothing was done;
    /// - `kelStatusNotFound`: a directory of the path `name` is missing;
    /// - `kelStatusAccessDenied`: the directory is not writable;
    /// - `kelStatusFailed`: any other failure, such as a file system without symbolic links.
    ///
    /// Linux: the target is any bytes, at most 4095. Windows: `/` in the target becomes a
    /// backslash. A link to a directory works only if the directory exists when the link is
    /// created. A user without the right to create links, which the developer mode of Windows 10
    /// grants to all, gets `kelStatusFailed`.
    static int CreateSymbolicLink(const zuString& target, const zuString& name);

    /// Reads the target of the symbolic link `name` itself, which may be another link or missing.
    ///
    /// @param target receives the text of the link unchanged, of any length.
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusEmptyPath`: the name is empty;
    /// - `kelStatusNotFound`: nothing has the name;
    /// - `kelStatusAccessDenied`: a directory of its path is not searchable;
    /// - `kelStatusFailed`: any other failure, such as a name that is not a symbolic link, or a
    ///   loop of links in its path.
    ///
    /// Windows: a mount point (junction) counts as a link.
    static int ReadSymbolicLink(const zuString& name, zuString& target);

    /// Finds the canonical path of the file or directory `name`. It is absolute, with symbolic
    /// links, `.` and `..` resolved, and without repeated or trailing separators.
    ///
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusEmptyPath`: the name is empty;
    /// - `kelStatusNotFound`: nothing is there, also behind a dangling link;
    /// - `kelStatusAccessDenied`: a directory of its path is not searchable;
    /// - `kelStatusFailed`: any other failure, such as a loop of links.
    ///
    /// Linux: a result of more than 4095 bytes, which no operation accepts, is a failure. Windows:
    /// the result has backslashes and the case of the names on the volume; it has the extended form
    /// (`\\?\`) where the system would otherwise read the path differently.
    static int GetRealPath(const zuString& name, zuString& path);

    /// Removes a file's name; a symbolic link is removed itself, not its target. Directories are
    /// not removed. Linux: a file that is open somewhere continues to exist without the name.
    static int Delete(const zuString& name);
    /// The same. The pointer is not read and may be null.
    static int Delete(const kelLibrary* library, const zuString& name);

    /// Whether a file, a directory or the target of a symbolic link with this name exists. Also
    /// false for an empty name, and if a directory of the path is not searchable.
    static bool Exists(const zuString& name);
    /// The same, returned as a status: `kelStatusOk` if it exists, `kelStatusNotFound` if not,
    /// `kelStatusEmptyPath` for an empty name. Since `kelStatusOk` is 0, the result reads the other
    /// way round as a condition.
    static int Exists(const kelLibrary* library, const zuString& name);

    /// Sets whether the owner may read and write the file: by the bits
    /// `kelFileInfo::PermissionOwnerRead` and `PermissionOwnerWrite` of `perms`; its other bits are
    /// ignored. Linux: every other permission of the file stays as it was; a symbolic link is
    /// followed. Windows: a file is always readable.
    static int SetPermissions(const zuString& name, int perms);
    /// The same. The pointer is not read and may be null.
    static int SetPermissions(const kelLibrary* library, const zuString& name, int perms);
    /// @}

    /// @name Aliases for callers that have included <windows.h>
    /// @{

    /// The same as `CreateSymbolicLink`.
    static int CreateSymbolicLinkA(const zuString& target, const zuString& name) {
        return CreateSymbolicLink(target, name);
    }
    /// The same as `CreateSymbolicLink`.
    static int CreateSymbolicLinkW(const zuString& target, const zuString& name) {
        return CreateSymbolicLink(target, name);
    }
    /// @}

private:
    kelFileRecord* record_;
};

#pragma pop_macro("CreateSymbolicLink")
