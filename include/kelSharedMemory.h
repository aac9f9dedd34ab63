#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelSharedMemoryRecord;

/// A named shared-memory segment as seen by one process, which either created it (Owner) or
/// attached to it (Attached).
///
/// | Operation  | Empty       | Owner            | Attached                          | Ended     |
/// |------------|-------------|------------------|-----------------------------------|-----------|
/// | `Create`   | to Owner    | no effect        | no effect                         | fails     |
/// | `Attach`   | to Attached | fails, no effect | no effect                         | fails     |
/// | `Detach`   | fails; ends | fails; destroys  | detaches, removes the name        | fails     |
/// | `Destroy`  | fails; ends | destroys         | fails; removes the name, detaches | fails     |
/// | `Remove`   | any name    | any; destroys    | any; detaches                     | any name  |
/// | destructor | no effect   | destroys         | detaches, the name stays          | no effect |
///
/// The only statuses are `kelStatusOk` and `kelStatusFailed`. `Detach`, `Destroy` and `Remove` end
/// the object for good, whatever their status: make a new one for the next segment. A `Create` or
/// an `Attach` that fails leaves an Empty object Empty and may be called again.
///
/// A destroyed segment has no name any more, and no process can attach to it; those that are
/// attached keep its memory until they detach. The library puts no header and no lock into a
/// segment.
///
/// Only `Remove` removes a name under which somebody else has created a new segment. Linux: that
/// holds even if the new segment is created at the same moment. If a process is suspended while it
/// removes the name, another one that tries to remove it gives up after a second: its operation
/// fails, and the name stays.
///
/// Linux: in a forked copy of the process, destroying an object or assigning to it leaves the name
/// of a segment that the parent has created. `Detach`, `Destroy` and `Remove` work there as usual.
///
/// Copies share one segment: if one of them ends, all are Ended (`IsValid` false, address null).
/// The last one to be destroyed releases it.
///
/// A creator that was killed leaves its segment behind, and nobody can create it again. Remove it
/// through a temporary object, which `Remove` ends, then create it with another one:
///
/// @code
/// kelSharedMemory board;
/// if (board.Create(4096, "org.example.board") != kelStatusOk) {
///     kelSharedMemory().Remove("org.example.board");  // of a creator that is known to be gone
///     if (board.Create(4096, "org.example.board") != kelStatusOk) {
///         return 1;
///     }
/// }
/// static_cast<int*>(board.GetBaseAddress())[0] = 42;
/// kelSharedMemory seen;  // here or in another process
/// if (seen.Attach("org.example.board") == kelStatusOk) {
///     std::printf("%d\n", static_cast<int*>(seen.GetBaseAddress())[0]);  // prints: 42
/// }
/// @endcode
///
/// Names: any text without a NUL, of any length, but not the empty one; every operation fails for
/// other names. The same bytes name the same segment. Linux: a name is not a path. Segments are
/// files in the system's shared memory (`/dev/shm`), named by two 32-bit hashes of their names,
/// which differ for names that differ in one byte. That is APR's layout, so programs that use APR
/// directly can attach. Windows: a name is the path of a file that is created, and two spellings of
/// the path name one segment.
///
/// Threads: one thread at a time may use an object, or objects that share; others are independent.
/// Child processes inherit no descriptor. Linux: no operation is a cancellation point of
/// `pthread_cancel`.
class KEL_API kelSharedMemory {
public:
    /// Makes an Empty object. Throws `std::bad_alloc` without memory.
    kelSharedMemory();
    /// The same. The pointer is not read and may be null.
    explicit kelSharedMemory(kelLibrary* library);
    /// Shares the state and the segment of `other`.
    kelSharedMemory(const kelSharedMemory& other);
    /// Releases the segment as the table shows, if no copy is left.
    virtual ~kelSharedMemory();
    /// Shares the state and the segment of `other`; releases its own first, as the destructor does.
    kelSharedMemory& operator=(const kelSharedMemory& other);

    /// Creates a segment of `size` bytes, all zero, under a name that is not in use. A size of 0 is
    /// allowed.
    ///
    /// The segment is readable and writable by its owner alone. Nobody can attach before it is
    /// complete, and a failure leaves no name. Linux: its memory is reserved before the call
    /// returns, so touching it never fails; a size that the system cannot hold at the time is a
    /// failure. Windows: nobody can attach on a volume without access lists, and the volume must
    /// have room for `size` and 1 MiB more.
    int Create(unsigned long long size, const zuString& name);

    /// Attaches to the segment of this name. Fails if there is none, or if its creator has not
    /// finished making it (or was killed before).
    ///
    /// Also fails for a segment that belongs neither to the caller (Linux: the effective user) nor
    /// to root (Windows: the system or its administrators). The same holds for one that others may
    /// write: whoever can truncate a segment can crash every process that touches it.
    int Attach(const zuString& name);

    /// Detaches and removes the name, if the name still stands for that segment: the creator and
    /// other processes keep the segment, but nobody can attach afterwards. To keep the name, let
    /// the destructor detach. On an Owner it fails, and the segment is destroyed.
    int Detach();

    /// Destroys the segment that this object created. On an Attached object it fails, but removes
    /// the name all the same.
    int Destroy();

    /// Removes the segment `name`, whoever created it, and ends the object's own segment, whatever
    /// its name. `kelStatusOk` if there was such a name. Works on an Ended object too. Windows: any
    /// other file of that name stays, but an empty one counts as a segment that was not finished. A
    /// segment that is mapped is renamed to `NAME.NUMBER.zukel-removed` until its last user
    /// detaches; a process that is killed may leave that file.
    int Remove(const zuString& name);

    /// The address of the segment in this process, aligned to 8 bytes; it differs between
    /// processes. Valid until the object, or a copy of it, ends.
    void* GetBaseAddress() const;

    /// The size in bytes that the creator asked for.
    unsigned long long GetSize() const;

    /// Whether the object is not Ended. True also without a segment: see `GetBaseAddress`.
    bool IsValid() const;

private:
    kelSharedMemoryRecord* record_;
};
