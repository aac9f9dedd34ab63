#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelMappedFileRecord;

/// A file, or a part of one, in the memory of the process: what is read there is read from the
/// file, and what is written there is written to the file. Since version 1.1.
///
/// | State  | `IsOpen` | entered by                                             | `GetAddress` |
/// |--------|----------|--------------------------------------------------------|--------------|
/// | closed | false    | construction, `Close`, assignment of a closed object   | null         |
/// | open   | true     | `Open` that succeeded, a copy of an open object        | the memory   |
///
/// Copies share the memory. Each object holds it until its own `Close`, the next `Open`, an
/// assignment or its end, and the last one that lets go unmaps it. The address is valid for as long
/// as one of them holds it.
///
/// The memory is that of the file at all times. Another program, a `kelFile`, or another mapping of
/// the same file sees what is written at once, and what they write is seen here; nothing orders the
/// accesses of several threads or processes but what they agree on. The file may be renamed and,
/// on Linux, removed: the memory stays that of the file. It keeps the size that it was opened with
/// when the file grows.
///
/// A file that somebody truncates. Linux: an access to memory beyond the new end, from the first
/// whole page behind it, raises SIGBUS, which ends the process; the rest of the page with the end
/// reads as zeros, and what is written there is lost. Map only files that nobody truncates while
/// they are mapped, such as those that are written once and then only read, or `Lock` them among
/// programs that agree to. Windows: the system refuses to truncate a file while it is mapped.
///
/// The same signal (Windows: the exception EXCEPTION_IN_PAGE_ERROR) meets an access for which the
/// disk cannot be read, and a write into a hole of the file for which the volume has no room. To
/// read files whose end is not known to stay, or to write with a status for each write, use
/// `kelFile::ReadAt` and `WriteAt`.
///
/// Failure: no operation throws but for `std::bad_alloc`.
///
/// Threads: one object is used by one thread at a time. Objects that share the memory are
/// independent: each thread may have a copy of its own.
///
/// Child processes: a program that the process starts has neither the memory nor the file. Linux: a
/// forked copy of the process has the same memory, and what either writes reaches the file and the
/// other.
///
/// @code
/// if (kelFile::ReplaceWhole("greeting.txt", "hello, world") != kelStatusOk) {
///     return 1;
/// }
/// kelMappedFile file;
/// if (file.Open("greeting.txt", kelMappedFile::ReadWrite, 7, 5) != kelStatusOk) {
///     return 1;
/// }
/// std::copy_n("earth", file.GetSize(), static_cast<char*>(file.GetAddress()));
/// if (file.Sync() != kelStatusOk) {
///     return 1;  // it may not have reached the disk
/// }
/// zuString contents;
/// kelFile::ReadWhole("greeting.txt", contents);
/// std::puts(contents.c_str());  // prints: hello, earth
/// @endcode
class KEL_API kelMappedFile {
public:
    /// What the memory is for.
    enum AccessMode : int {
        ReadOnly = 0,  ///< It is read. Writing to it ends the process.
        ReadWrite = 1  ///< It is read and written.
    };

    /// Makes a closed object.
    kelMappedFile();
    /// Shares the memory of `other`.
    kelMappedFile(const kelMappedFile& other);
    /// Lets go of the memory. What was written to it reaches the file, but is not waited for: call
    /// `Sync` to learn whether it is on the disk.
    ~kelMappedFile();
    /// Lets go of what the object holds, and shares the memory of `other`.
    kelMappedFile& operator=(const kelMappedFile& other);

    /// Maps the whole of the file `name`, as long as it is now. A file of 0 bytes opens with a null
    /// address. An open object lets go of what it holds if that succeeds, and stays as it is if
    /// not.
    ///
    /// @param access with `ReadWrite` the file must be writable too. It is never made or extended:
    /// do that by `kelFile::Open` and `SetLength` first.
    /// @returns `kelStatusOk`; `kelStatusEmptyPath` for an empty name; `kelStatusNotFound` when
    /// there is no such file or directory on the way; `kelStatusAccessDenied` when the system
    /// refuses; `kelStatusFailed` otherwise, as for anything but a regular file, and for one that
    /// has no room in the address space. Linux: a file without a length, as those below /proc,
    /// opens with 0 bytes.
    int Open(const zuString& name, AccessMode access);

    /// The same for `length` bytes from `offset` on, which may be any: no size of a page matters.
    /// `kelStatusFailed` when `offset` is negative, or the part ends beyond the end of the file.
    int Open(const zuString& name, AccessMode access, long long offset, unsigned long long length);

    /// Lets go of the memory. `kelStatusFailed` when the object was closed already.
    int Close();

    /// Whether the object holds a file, of 0 bytes too.
    bool IsOpen() const;

    /// The first byte of the part in memory; null for a part of 0 bytes, and on a closed object.
    /// Aligned as its place in the file is, up to the size of a page (4 KiB at least).
    void* GetAddress() const;

    /// How many bytes the part has; 0 on a closed object.
    unsigned long long GetSize() const;

    /// Waits until what was written to the memory is on the disk. A success without effect on
    /// memory that is only read. `kelStatusFailed` on a closed object, and when the disk fails: it
    /// is not known then what has arrived.
    int Sync();

private:
    kelMappedFileRecord* record_;
};
