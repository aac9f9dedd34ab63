#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelFileRecord;

// <windows.h> has a macro of this name. It must not rename the member, whether that header comes
// before this one or after it: at the end of the class the call is met under either name.
#pragma push_macro("CreateSymbolicLink")
#undef CreateSymbolicLink

/// One file: opened by name, read and written as typed values, blocks or lines, and closed; and
/// operations on files by name.
///
/// | State  | `IsOpen` | entered by                                     | data operations     |
/// |--------|----------|------------------------------------------------|---------------------|
/// | closed | false    | construction, failed open, `Close`             | `kelStatusFailed`   |
/// | open   | true     | `Open` or `CreateTemporaryFile` that succeeded | as each one tells   |
///
/// `Open` and `CreateTemporaryFile` are allowed in both states. On an open object they forget the
/// earlier file without closing it: its buffer is written out and its descriptor closed when the
/// object is destroyed. Call `Close` first when that is too late, or when its status matters.
///
/// Failure: no operation throws but for `std::bad_alloc`; output arguments change only on success,
/// unless an operation says otherwise. Every operation other than `EndOfFile` gives
/// `kelStatusFailed` on a closed object and changes nothing.
///
/// Threads: one object is used by one thread at a time, and so are objects that share a file by
/// assignment; all others are independent.
///
/// Child processes: no descriptor of this class reaches a program that the process starts. In a
/// forked copy of the process, the end of an object writes no buffer and removes no file of the
/// parent's; `Close` and `Flush` do what they always do.
///
/// Signals: one that the program handles interrupts no operation; reads and writes go on after it.
///
/// @code
/// kelFile out("list.txt", kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate);
/// if (out.WriteLine("milk\nbread\n") != kelStatusOk || out.Close() != kelStatusOk) {
///     return 1;  // not opened, or not all of it has reached the system
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
        ModeCreate = 0x00004,  ///< Make the file when it does not exist.
        /// Every write goes to the end of the file, whoever else writes to it.
        ModeAppend = 0x00008,
        ModeTruncate = 0x00010,   ///< Cut an existing file to nothing.
        ModeBinary = 0x00020,     ///< No text translation; neither Linux nor Windows does any.
        ModeExclusive = 0x00040,  ///< With `ModeCreate`: fail when the file exists.
        ModeBuffered = 0x00080,   ///< Gather small reads and writes in a buffer of 16 KiB.
        /// Remove the file when it is closed. Linux: by the name given, which a relative name looks
        /// for in the current directory of that time; Windows: the file itself.
        ModeDeleteOnClose = 0x00100,
        ModeThreadSafe = 0x00200,  ///< No effect: one thread at a time uses an object.
        ModeShareLock = 0x00400,   ///< Windows: other processes may lock ranges of the file.
        ModeNoCleanup =
            0x00800,  ///< A forgotten handle (see above) is never closed, nor its buffer written.
        ModeSendfile = 0x01000,  ///< No effect.
        ModeSparse = 0x08000     ///< Windows: mark the file sparse.
    };

    /// Makes a closed object with an empty name. Throws `std::bad_alloc` without memory.
    kelFile();
    /// The same. The pointer is not read and may be null.
    explicit kelFile(kelLibrary* library);
    /// Makes the object and does what `Open` does. The status is not reported: ask `IsOpen`.
    kelFile(const zuString& name, int mode);
    /// Makes a closed object with an empty name. Nothing of `other` is taken over.
    kelFile(const kelFile& other);
    /// Closes an open file, dropping the status: call `Close` to learn of a failed last write.
    ~kelFile();
    /// Shares the open file, the name and the position of `other`: what is done through one object
    /// is seen through both, and the last one closes. A file that this object held alone is closed.
    kelFile& operator=(const kelFile& other);

    /// Opens the file `name`, relative to the current directory, with `mode` made of `OpenMode`
    /// bits. A new file gets the system's default permissions (Linux: 0666 less the umask).
    ///
    /// @returns `kelStatusOk`; `kelStatusNotFound` when there is no such file or directory on the
    /// way; `kelStatusAccessDenied` when the system refuses, and when `mode` has neither `ModeRead`
    /// nor `ModeWrite`, or `ModeExclusive` without `ModeCreate`; `kelStatusFailed` otherwise. After
    /// a failure the object is closed and its name empty.
    ///
    /// Linux: the name is any bytes; a directory opens with `ModeRead` alone, and every read of it
    /// fails. Windows: the name is UTF-8; in a process on a single-byte code page a file that
    /// exists is opened through its short (8.3) name.
    int Open(const zuString& name, int mode);

    /// Writes out a buffered file and closes it. The name stays.
    ///
    /// @returns `kelStatusFailed` when the object was closed already, and when writing out the
    /// buffer or closing failed; the object is closed all the same, and what could not be written
    /// is lost.
    int Close();

    /// Whether a file is open.
    bool IsOpen() const;

    /// The name of the open file as the caller gave it, or that of the temporary file; it outlives
    /// `Close`. Empty before the first opening and after a failed one.
    zuString GetFileName() const;

    /// Makes a new file under a name made from `nameTemplate` and opens it for reading and writing,
    /// unbuffered. It is removed when it is closed, also when the template was relative and the
    /// current directory has changed since.
    ///
    /// @param nameTemplate its first 127 bytes count. It ends in at least six `X`; Linux: the last
    /// six are replaced; Windows: all trailing `X` are.
    /// @returns `kelStatusOk`; `kelStatusAccessDenied` when the directory may not be written, or
    /// one on the way to it from the root may not be searched; `kelStatusFailed` otherwise, a
    /// missing directory and an absolute name longer than the system takes included. After a
    /// failure the object is closed and its name empty.
    int CreateTemporaryFile(const zuString& nameTemplate);

    /// @name Typed values
    /// A value is stored as its bytes in memory, in the machine's byte order, with nothing around
    /// it: 1 byte for `char`, 2 for `short`, `unsigned short` and `wchar_t`, 4 for `int`, `unsigned
    /// int`, `long`, `unsigned long` and `float`, 8 for `double`, on every platform.
    ///
    /// `Read` gives `kelStatusFailed` and leaves `value` alone when nothing could be read, also at
    /// the end of the file (see `EndOfFile`). When the file ends within the value, the result is
    /// `kelStatusOk` and only the leading bytes of `value` have changed. A whole `long` is
    /// sign-extended, a whole `unsigned long` or `wchar_t` zero-extended to the platform's width.
    ///
    /// `Write` of a `long`, `unsigned long` or `wchar_t` that does not fit the width in the file
    /// gives `kelStatusFailed` and writes nothing. Buffered, a value is taken whole or not at all;
    /// unbuffered, a full device may take a part of it, and the block form tells how much.
    /// @{

    /// Reads or writes one value, as told above.
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
    /// Plain bytes, whatever the type of the pointer: `size` counts bytes, is never multiplied by
    /// the size of an element, and holds on return the bytes that were moved, after a failure too.
    /// A read that finds only part of the bytes is a success; one that finds none, at the end of
    /// the file or by an error, is `kelStatusFailed` with `size` 0. Reading 0 bytes is a success.
    ///
    /// A write may be short with `kelStatusOk` when the file is unbuffered (Linux moves at most 2
    /// GiB less 4 KiB in one call): go on with the rest. Buffered, it is whole unless it fails, and
    /// `size` then tells exactly how many bytes reached the file or the buffer.
    /// @{

    /// Reads into or writes from `size` bytes at `buffer`, as told above.
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

    /// Reads up to and including the next line feed, at most `size` - 1 bytes, and ends them with a
    /// NUL. The line feed stays in the text, and a carriage return before it too; a longer line
    /// comes in pieces; the last line may have no line feed.
    ///
    /// @param buffer room for `size` bytes.
    /// @param size at least 1, at most 2^31 - 1: only its low 32 bits count. With 1 the text is
    /// empty, with 0 nothing is written; nothing is read then, and the result is `kelStatusOk`.
    /// @returns `kelStatusFailed` when nothing was left, or by an error; `buffer` then holds the
    /// empty text.
    ///
    /// A line with a NUL in it cannot be told from a shorter one: read such a file in blocks.
    ///
    /// An unbuffered line costs two or three system calls. Of a pipe or a terminal it costs one for
    /// each byte, so that nothing is taken from whoever reads it next.
    int ReadLine(char* buffer, unsigned long long size);

    /// Writes the bytes of `text` up to its NUL; no line end is added.
    ///
    /// @param text not null.
    /// @returns `kelStatusFailed` when not all of it reached the file or the buffer. Buffered, a
    /// text of up to 16 KiB has then not been taken at all.
    int WriteLine(const char* text);

    /// Moves the position to `offset` bytes from the start; beyond the end is allowed, and a later
    /// write fills the gap with zeros. Writes out a buffer first. A negative offset, a pipe
    /// (unbuffered), and a buffer that cannot be written give `kelStatusFailed`.
    int SeekTo(long long offset);
    /// Moves the position to the start of the file. Fails as `SeekTo` does.
    int SeekToBegin();
    /// Moves the position to the end of the file. Fails as `SeekTo` does.
    int SeekToEnd();

    /// Whether a read has met the end of the file. True on a closed object, and from the read that
    /// met the end until the position is set, even if the file has grown since. A read meets the
    /// end when it finds nothing; a line or a buffered read also when it finds less than it wanted.
    /// A read that ends exactly at the last byte does not. After any other failure: false until an
    /// operation succeeds.
    bool EndOfFile();

    /// Hands the buffer of a file opened with `ModeBuffered` to the system; a success without
    /// effect on any other. The data is not synced to disk. After a failure the buffer holds what
    /// the system has not taken, and nothing is written twice.
    int Flush();

    /// Writes out a buffer and waits until everything that was written to the file is on the disk:
    /// a power cut after `kelStatusOk` loses nothing of it. The name of a new file is on the disk
    /// only after `kelDirectory::Sync` of its directory. After a failure it is not known what has
    /// arrived, and a second `Sync` does not tell: write again, to another file. A pipe or a
    /// terminal fails. Windows: a file opened without `ModeWrite` fails.
    int Sync();

    /// @name Places and lengths
    /// Offsets and lengths count bytes. None of these changes what `EndOfFile` reports.
    /// @{

    /// Reports where the next read or write takes place, counted from the start of the file;
    /// nothing is written out. With `ModeAppend`, that is the end of the file while the buffer
    /// holds bytes to be written. `kelStatusFailed` for a pipe or a terminal.
    int GetPosition(long long& position);

    /// Reports how long the file is, including what the buffer holds beyond its end; nothing is
    /// written out. `kelStatusFailed` for anything but a regular file.
    int GetLength(long long& length);

    /// Writes out a buffer, and then truncates the file or extends it by zeros. The position stays
    /// where it is, beyond the end too. `kelStatusFailed` when `length` is negative, the file is
    /// not open for writing, or the system refuses (Linux: a length beyond the process's limit
    /// too, which raises no SIGXFSZ): the length is then as before.
    int SetLength(long long length);

    /// Reads `size` bytes at `offset` into `buffer`, or as many as there are before the end of the
    /// file; the position stays. Fewer bytes with `kelStatusOk` mean the end of the file, 0 at and
    /// beyond it, so that threads need no `EndOfFile` to share.
    ///
    /// Threads: without `ModeBuffered`, any number of threads may use `ReadAt` and `WriteAt` on one
    /// object at once, as long as no other operation runs on it; what one writes while another
    /// reads the same bytes is seen in part or in whole. With `ModeBuffered`, one thread at a time:
    /// a buffer is written out first, so that everything that was written is read.
    ///
    /// @param size receives the bytes that were read, after a failure too.
    /// @returns `kelStatusFailed` when `offset` is negative, reading fails, or the file has no
    /// places to read at, as a pipe.
    int ReadAt(long long offset, void* buffer, unsigned long long& size);

    /// Writes `size` bytes from `buffer` at `offset`, straight to the system; the position stays. A
    /// gap beyond the former end is filled with zeros. For threads see `ReadAt`. With
    /// `ModeBuffered` a buffer is written out first, and what was read ahead is read again.
    ///
    /// @param size receives the bytes that were written, after a failure too.
    /// @returns `kelStatusOk` when all of it was written; `kelStatusFailed` otherwise, and with
    /// `ModeAppend`, with which every write goes to the end.
    int WriteAt(long long offset, const void* buffer, unsigned long long& size);
    /// @}

    /// The kinds of lock.
    enum LockKind : int {
        LockShared = 0,    ///< Others may share it.
        LockExclusive = 1  ///< Nobody else has a lock.
    };

    /// Locks the whole file against other processes, and against other openings of the file in this
    /// one. It is a lock among those who ask for one: it hinders nobody from reading, writing,
    /// renaming or removing the file. It ends with `Unlock`, with the close of the file, and with
    /// the process however that ends; closing another object on the same file does not end it. A
    /// program started by the process does not hold it.
    ///
    /// An object has one lock at most: to change its kind, `Unlock` first. Two programs that wait
    /// for each other's locks for ever do so; nothing detects that.
    ///
    /// @param kind `LockShared` needs `ModeRead`, `LockExclusive` needs `ModeWrite`.
    /// @param microseconds how long to wait for others: 0 asks once, negative waits for ever. A
    /// limited time is spent asking again, up to 16 ms apart, so a waiter for ever may be served
    /// before it.
    /// @returns `kelStatusOk`; `kelStatusBusy` when somebody else still holds the file at the end
    /// of that time; `kelStatusFailed` otherwise, also for a file system without locks and an
    /// object that has a lock.
    ///
    /// Linux: an open-file-description lock (`F_OFD_SETLK`), which meets those of `fcntl`, not of
    /// `flock`. A forked copy of the process shares it; it ends when the process that took it
    /// closes the file, or when the last copy of a process that ended has. Windows: a lock of one
    /// byte beyond all contents; `ModeAppend` needs `ModeRead` with it.
    int Lock(LockKind kind, long long microseconds);

    /// Ends the lock of this object. `kelStatusFailed` when it has none. A buffer is written out
    /// first, so that the next one who locks the file sees it; when that fails the lock stays.
    int Unlock();

    /// Whether the file of this object's name may be read: not by its mode bits alone, but by
    /// whether the system would grant it to this process now. The file need not be open; after a
    /// `Close` the name is tested, and an empty name is false. Linux: with the effective user, so
    /// root may read everything. A directory that may be listed counts.
    bool IsReadable() const;
    /// Whether the file of this object's name may be written; otherwise as `IsReadable`. Linux:
    /// false on a volume mounted read-only, for root too. Windows: false for a read-only file.
    bool IsWritable() const;

    /// @name Operations on files by name
    /// Names are relative to the current directory and taken as they are: `~` and `$NAME` mean
    /// nothing here. An empty source name gives `kelStatusEmptySource`, an empty target name
    /// `kelStatusEmptyTarget`, the only name empty `kelStatusEmptyPath`, before anything is done.
    /// Every other failure is `kelStatusFailed`, unless an operation says otherwise. The forms with
    /// a `kelLibrary` pointer do the same: the pointer is not read and may be null. All may run in
    /// any number of threads at once.
    /// @{

    /// Copies the contents of the file `from` to the file `to`, which is made or overwritten.
    ///
    /// @param perms the permissions of a new target, `kelFileInfo::Permission` bits or
    /// `kelFileInfo::PermissionDefault`, both less the umask, while a target that exists keeps its
    /// own; with `kelFileInfo::PermissionOfSource` a new target and one that exists get those of
    /// the source, whatever the umask.
    ///
    /// An existing target is written into: it stays the same file, with its owner and its hard
    /// links, and a symbolic link as target is followed. Nothing is touched when the source is a
    /// directory or cannot be read, when the target may not be written, and when both names lead to
    /// the same file: all of that is `kelStatusFailed`. When reading fails later or the writing
    /// itself fails, as on a full volume, the target is truncated and removed; a device or a pipe
    /// never is. A program that is killed in the middle leaves a part of the target: copy to
    /// another name and `Rename` where that matters.
    ///
    /// Linux: holes of a sparse file stay holes, and on a volume whose files can share blocks
    /// (Btrfs, XFS) a large copy shares those of the source until one of the two is written. A pipe
    /// as source is read until its writers have closed it. A target beyond the process's limit on
    /// the size of files, and a pipe whose reader has left, are failures; they raise no SIGXFSZ and
    /// no SIGPIPE.
    ///
    /// Linux: `PermissionOfSource` carries the POSIX access list over. Where the target's volume
    /// has none, the permissions leave out what the list alone allowed, so nobody is given more
    /// than the source grants. Set-user-ID (set-group-ID) goes along only when both files have the
    /// same owner (group). A target of the caller's own that may not be written is first given the
    /// source's permissions for its owner. `PermissionOfSource` has no effect on devices and pipes,
    /// and is not insisted on where the target belongs to somebody else or its volume keeps no
    /// permissions.
    static int Copy(const zuString& from, const zuString& to, int perms);
    /// The same. The pointer is not read and may be null.
    static int Copy(const kelLibrary* library, const zuString& from, const zuString& to, int perms);

    /// Copies a file as the platform's own copy does: contents, permissions and modification time.
    /// Otherwise as `Copy` with `PermissionOfSource`, but a target that may not be written stays as
    /// it is. The modification time is kept to the nanosecond where the volume can.
    ///
    /// @param perms exactly `kelFileInfo::PermissionDefault`: the target is made writable for its
    /// owner as well, afterwards, and also when the copy failed, but not when both names lead to
    /// the same file. Any other value has no effect.
    static int NativeCopy(const zuString& from, const zuString& to, int perms);

    /// Gives the file or directory `from` the name `to`, replacing a file of that name; on the same
    /// volume in one step that nobody can see the middle of.
    ///
    /// A file or symbolic link also moves to another volume, whole or not at all: the contents go
    /// to a new file beside the target, which gets the source's permissions and times, and its
    /// owner, access list and extended attributes where the system and the volume allow it (without
    /// its list the permissions are those of `Copy`), and is on the disk before it takes the
    /// target's name and the source is removed. After a failure the source is untouched, and so is
    /// a file that had the target's name. Directories, pipes and devices do not move to another
    /// volume.
    ///
    /// A source that is changed, or replaced by another file, before it is removed is such a
    /// failure: nothing that was written to it is lost. Linux: a program that opens the source for
    /// writing meanwhile waits for the end of the move, for 45 seconds at most (with O_NONBLOCK the
    /// opening fails), and the move fails. Where the system does not allow that (a source of
    /// somebody else's, some network file systems, a program that keeps the source open for
    /// writing), the change is seen by size and modification time: a write that changes neither,
    /// within one tick of the volume's clock, goes unnoticed, and so does one through a descriptor
    /// that is still open while the source is removed.
    ///
    /// A program that is killed in the middle, or a volume that refuses to remove or rename a file,
    /// may leave one whose name begins with `.zukel-`: beside the target a part of the copy or the
    /// former target, beside the source the source. So may a program that makes a new file under
    /// the source's name just as the move gives up.
    ///
    /// Two names of one and the same file: nothing happens, and the result is `kelStatusOk`.
    ///
    /// Windows: a target that somebody has open is replaced as well where it was opened so that it
    /// may be removed, as this library opens files, and the system has POSIX semantics for its
    /// volume (Windows 10, NTFS); elsewhere that fails. To another volume alternate streams go
    /// along, or the move fails; access lists do not.
    static int Rename(const zuString& from, const zuString& to);
    /// The same. The pointer is not read and may be null.
    static int Rename(const kelLibrary* library, const zuString& from, const zuString& to);

    /// The platform's own rename. Linux: replaces a file of that name in one step, and never moves
    /// to another volume. Windows: the same, but fails when the target exists.
    static int NativeRename(const zuString& from, const zuString& to);

    /// Gives the file or directory `from` the name `to` as `NativeRename` does, but only when
    /// nothing has that name, with no gap between the look and the deed.
    ///
    /// @returns `kelStatusExists`, with nothing done, when something has the name `to`, also when
    /// that is `from` itself or a symbolic link that leads nowhere. `kelStatusFailed` otherwise,
    /// also for names on two volumes. Windows: names that differ in case alone are one name, which
    /// gets the case of `to`.
    ///
    /// Linux: `renameat2`. Where the system or the file system lacks that, a file gets its second
    /// name before it loses the first, so that both may be seen for a moment and stay when the
    /// program is killed just then; a directory is refused there.
    static int RenameNew(const zuString& from, const zuString& to);

    /// Reads a file as a whole, to wherever its end is when that is reached.
    ///
    /// @param contents receives the bytes.
    /// @returns `kelStatusNotFound`, `kelStatusAccessDenied` and `kelStatusFailed` as `Open` does;
    /// `kelStatusFailed` also for a directory, and when reading fails.
    static int ReadWhole(const zuString& name, zuString& contents);

    /// Puts new contents under the name, or makes the file. Whatever fails, and whenever the
    /// process is killed or the machine loses power, the name has either the old contents or the
    /// new ones. With `kelStatusOk` the new ones are on the disk.
    ///
    /// They go to a new file beside the old one, and then the new file takes the name. It gets the
    /// old one's permissions, except for set-ID bits, which any write takes away; and its access
    /// list, owner, group and extended attributes where the system and the volume allow it, without
    /// giving anybody more than the old file grants. Other hard links of the old file keep the old
    /// contents, and so do programs that have it open. A symbolic link stays, and its target is
    /// replaced. A file that does not exist gets the system's default permissions.
    ///
    /// A program that is killed in the middle may leave a file whose name begins with `.zukel-` in
    /// the directory. Of several programs that replace one file at once the last one wins.
    ///
    /// @returns `kelStatusOk`; `kelStatusNotFound` when a directory on the way is missing;
    /// `kelStatusAccessDenied` when the file may not be written, or its directory not be written or
    /// read; `kelStatusFailed` otherwise, also for anything but a regular file. The old contents
    /// are there after a failure, unless only the last wait for the disk has failed.
    ///
    /// Windows: the access list and the attributes are carried over, the owner is the caller. A
    /// file that somebody holds open without sharing its removal is not replaced, and a symbolic
    /// link that leads nowhere is a failure.
    static int ReplaceWhole(const zuString& name, const zuString& contents);

    /// Makes a symbolic link `name` that leads to `target`. The target need not exist; a relative
    /// one is read from the directory that the link is in.
    ///
    /// @returns `kelStatusOk`; `kelStatusEmptyTarget` and `kelStatusEmptyPath` for an empty
    /// `target` and `name`; `kelStatusExists`, with nothing done, when something has the name;
    /// `kelStatusNotFound` when a directory on the way to `name` is missing;
    /// `kelStatusAccessDenied` when it may not be written; `kelStatusFailed` otherwise, as on a
    /// volume without such links.
    ///
    /// Linux: the target is any bytes, at most 4095. Windows: `/` in the target becomes a
    /// backslash; a link to a directory leads there only if the directory exists when the link is
    /// made; a user who lacks the right to make links, which the developer mode of Windows 10
    /// gives to all, gets `kelStatusFailed`.
    static int CreateSymbolicLink(const zuString& target, const zuString& name);

    /// Reads where the symbolic link `name` itself leads to, which may be another link or nothing.
    ///
    /// @param target receives the text as it is in the link, of any length.
    /// @returns `kelStatusOk`; `kelStatusEmptyPath` for an empty name; `kelStatusNotFound` when
    /// nothing has the name; `kelStatusAccessDenied` when the way there may not be searched;
    /// `kelStatusFailed` otherwise, as for what is no symbolic link, and for a loop of links on
    /// the way. Windows: a mount point (junction) counts as a link.
    static int ReadSymbolicLink(const zuString& name, zuString& target);

    /// Finds the absolute path of the file or directory that `name` leads to. Symbolic links are
    /// followed, `.` and `..` worked out, repeated and trailing separators are gone.
    ///
    /// @returns `kelStatusOk`; `kelStatusEmptyPath` for an empty name; `kelStatusNotFound` when it
    /// leads to nothing, as through a link to a missing file; `kelStatusAccessDenied` when the way
    /// there may not be searched; `kelStatusFailed` otherwise, as for a loop of links.
    ///
    /// Linux: a path that would have more than 4095 bytes, which no operation takes, fails.
    /// Windows: with backslashes, in the case that the names have on the volume, and in the
    /// extended form where the system would read the path in another way without it.
    static int GetRealPath(const zuString& name, zuString& path);

    /// Removes the name of a file; a symbolic link itself, not what it leads to. Directories are
    /// not removed. Linux: a file that is open somewhere lives on without the name.
    static int Delete(const zuString& name);
    /// The same. The pointer is not read and may be null.
    static int Delete(const kelLibrary* library, const zuString& name);

    /// Whether something of this name exists: a file, a directory, or what a symbolic link leads
    /// to. False too when the way there may not be searched, and for an empty name.
    static bool Exists(const zuString& name);
    /// The same as a status, of the opposite truth value: `kelStatusOk` when it exists,
    /// `kelStatusNotFound` when not, `kelStatusEmptyPath` for an empty name.
    static int Exists(const kelLibrary* library, const zuString& name);

    /// Sets whether the owner may read and write the file: the bits
    /// `kelFileInfo::PermissionOwnerRead` and `PermissionOwnerWrite` of `perms`; its other bits
    /// mean nothing. Linux: every other permission of the file stays as it was; a symbolic link is
    /// followed. Windows: a file can always be read.
    static int SetPermissions(const zuString& name, int perms);
    /// The same. The pointer is not read and may be null.
    static int SetPermissions(const kelLibrary* library, const zuString& name, int perms);
    /// @}

    /// @name Under the names that windows.h makes of calls to one of the above
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
