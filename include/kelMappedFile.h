#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

struct kelMappedFileRecord;

/// A file, or a part of one, mapped into the memory of the process: reading the memory reads the
/// file, and writing to it writes to the file. Since version 1.1.
///
/// | State  | `IsOpen` | entered by                                             | `GetAddress` |
/// |--------|----------|--------------------------------------------------------|--------------|
/// | closed | false    | construction, `Close`, assignment of a closed object   | null         |
/// | open   | true     | `Open` that succeeded, a copy of an open object        | the memory   |
///
/// Copies share the mapping. Each object holds it until its own `Close`, next `Open`, assignment or
/// destruction, and the last one unmaps it. The address is valid as long as one of them holds the
/// mapping.
///
/// The mapping and the file are one. Other programs, a `kelFile` and other mappings of the file see
/// at once what is written here, and their writes are seen here. Threads and processes must order
/// their accesses themselves. The file may be renamed and, on Linux, removed: the mapping stays
/// that of the file. When the file grows, the mapping keeps the size that it was opened with.
///
/// Danger: somebody may truncate the file while it is mapped. Linux: any access from the first
/// whole page beyond the new end raises SIGBUS, which ends the process. The rest of the page that
/// contains the end reads as zeros, and what is written there is lost. Map only files that nobody
/// truncates meanwhile, such as those that are written once and then only read, or `Lock` them
/// among programs that agree to. Windows: the system refuses to truncate a mapped file.
///
/// An access that the disk fails to read raises the same signal (Windows: the exception
/// EXCEPTION_IN_PAGE_ERROR), and so does a write into a hole of the file when the file system is
/// full. To read files that may be truncated, or to get a status for each write, use
/// `kelFile::ReadAt` and `WriteAt`.
///
/// Failure: no operation throws except `std::bad_alloc`.
///
/// Threads: one thread at a time may use an object. Objects that share a mapping are independent:
/// each thread may have a copy of its own.
///
/// Child processes: a started program inherits neither the mapping nor the file. Linux: a forked
/// copy of the process shares the mapping, and what either writes reaches the file and the other.
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
        ReadOnly = 0,  ///< Reading. A write to the memory ends the process.
        ReadWrite = 1  ///< Reading and writing.
    };

    /// Makes a closed object.
    kelMappedFile();
    /// Shares the mapping of `other`.
    kelMappedFile(const kelMappedFile& other);
    /// Releases the mapping. What was written to it reaches the file, but is not synced to disk:
    /// call `Sync` for that, and for its status.
    ~kelMappedFile();
    /// Releases the object's own mapping and shares that of `other`.
    kelMappedFile& operator=(const kelMappedFile& other);

    /// Maps the whole file `name`, with its present length. A file of 0 bytes opens with a null
    /// address. If the object was open, success releases its former mapping, and failure keeps it.
    ///
    /// @param access with `ReadWrite` the file must be writable too. It is never created or
    /// extended: do that with `kelFile::Open` and `SetLength` first.
    /// @returns
    /// - `kelStatusOk`;
    /// - `kelStatusEmptyPath`: the name is empty;
    /// - `kelStatusNotFound`: the file, or a directory of its path, does not exist;
    /// - `kelStatusAccessDenied`: the system refuses;
    /// - `kelStatusFailed`: any other failure, such as anything but a regular file, or a file too
    ///   large for the address space.
    ///
    /// Linux: a file without a length, such as those in /proc, opens with 0 bytes.
    int Open(const zuString& name, AccessMode access);

    /// The same for `length` bytes from `offset` on, which need not be aligned to pages.
    /// `kelStatusFailed` if `offset` is negative, or the part ends beyond the end of the file.
    int Open(const zuString& name, AccessMode access, long long offset, unsigned long long length);

    /// Releases the mapping. `kelStatusFailed` if the object was closed already.
    int Close();

    /// Whether the object holds a file, even one of 0 bytes.
    bool IsOpen() const;

    /// The first byte of the mapped part; null for a part of 0 bytes, and on a closed object.
    /// Aligned as its offset in the file, up to the page size (at least 4 KiB).
    void* GetAddress() const;

    /// The size of the mapped part in bytes; 0 on a closed object.
    unsigned long long GetSize() const;

    /// Waits until what was written to the memory is on disk. Succeeds without effect on a
    /// `ReadOnly` mapping. `kelStatusFailed` on a closed object, and if the disk fails: it is then
    /// unknown what has reached it.
    int Sync();

private:
    kelMappedFileRecord* record_;
};
