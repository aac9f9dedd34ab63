#pragma once

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelSharedMemoryRecord;

/// One process's hold on a named block of memory that other processes see as well: as the creator
/// of the segment, or attached to it.
///
/// | Operation  | Empty         | Owner            | Attached                         | Ended    |
/// |------------|---------------|------------------|----------------------------------|----------|
/// | `Create`   | to Owner      | no effect        | no effect                        | fails    |
/// | `Attach`   | to Attached   | fails, no effect | no effect                        | fails    |
/// | `Detach`   | fails; ends   | fails; destroys  | detaches, removes the name       | fails    |
/// | `Destroy`  | fails; ends   | destroys         | fails; removes the name, lets go | fails    |
/// | `Remove`   | any name      | any; destroys    | any; lets go                     | any name |
/// | destructor | nothing to do | destroys         | lets go, the name stays          | nothing  |
///
/// What fails gives `kelStatusFailed`, the rest `kelStatusOk`; there is no other status. `Detach`,
/// `Destroy` and `Remove` end the object for good, whatever their status: make a new one for the
/// next segment. A `Create` or an `Attach` that fails leaves an Empty object Empty and may be
/// called again.
///
/// A segment that is destroyed has no name any more, and no process can attach to it; those that
/// are attached keep its memory until they let go. The library puts no layout and no lock into it.
///
/// No operation but `Remove` removes a name under which somebody else has created a new segment.
/// Linux: that holds also when the new segment is created at the same moment. If a process was
/// stopped while it removed the name, another process that removes it gives up after a second: its
/// operation fails, and the name stays.
///
/// Linux: in a copy of the process that `fork` makes, the end of an object, or an assignment to it,
/// leaves the name of a segment that the parent has created. `Detach`, `Destroy` and `Remove` do as
/// they are told there too.
///
/// Copies share: what one object does to the segment the others see, and when one of them ends,
/// all of them are Ended (`IsValid` false, address null). The last one to be destroyed lets go.
///
/// A creator that was killed leaves its segment behind, and nobody can create it anew. Clear it
/// with `Remove` on an object of its own, which that ends, and create with a second one:
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
/// Names: any text without a NUL but the empty one, of any length; every operation fails for the
/// others. Processes meet when they give the same bytes. Linux: a name is no path; segments live in
/// the system's shared memory
/// (`/dev/shm`) under two hashes of 32 bits of their names, which differ for names that differ in
/// one byte, and programs that use the runtime directly find them there. Windows: a name is a path,
/// and a file is made under it: two ways to write it name one segment.
///
/// Threads: one object, or objects that share, are used by one thread at a time; others are
/// independent. Child processes inherit no descriptor. Linux: no operation is a cancellation point
/// of `pthread_cancel`.
class KEL_API kelSharedMemory {
public:
    /// Makes an Empty object. Throws `std::bad_alloc` without memory.
    kelSharedMemory();
    /// The same. The pointer is not read and may be null.
    explicit kelSharedMemory(kelLibrary* library);
    /// Shares the state and the segment of `other`.
    kelSharedMemory(const kelSharedMemory& other);
    /// Lets go of the segment as the table tells, if no copy is left.
    virtual ~kelSharedMemory();
    /// Shares the state and the segment of `other`; lets go of its own first, as the destructor
    /// does.
    kelSharedMemory& operator=(const kelSharedMemory& other);

    /// Makes a segment of `size` bytes, all zero, under a name that is not in use. 0 is a size.
    ///
    /// The segment is readable and writable by its owner alone. Windows: on a volume that keeps
    /// access lists; on another one nobody can attach. The volume must have the room and 1 MiB
    /// more. Linux: its memory is reserved before the call returns, so touching it never fails; a
    /// size that the system cannot hold at the time fails. Nobody can attach before it is whole,
    /// and a failure leaves no name.
    int Create(unsigned long long size, const zuString& name);

    /// Attaches to the segment that somebody has made under this name. Fails while there is none,
    /// and while it is not whole: its creator is in the middle of it, or was killed there.
    ///
    /// Also fails for a segment that belongs neither to the caller (Linux: the effective user) nor
    /// to root (Windows: the system or its administrators), and for one that others may write: a
    /// stranger who can cut a segment can end every process that touches it.
    int Attach(const zuString& name);

    /// Lets go of an attached segment and removes its name, if the name still stands for that
    /// segment: the creator's hold and those of others stay, but nobody can attach any more. Let
    /// the destructor do it to leave the name. An Owner fails, and its segment is destroyed.
    int Detach();

    /// Destroys the segment that this object created. An Attached object fails, and its name is
    /// removed all the same.
    int Destroy();

    /// Removes the segment `name`, whoever has made it, and lets go of the object's own segment,
    /// whatever its name. `kelStatusOk` when there was such a name. Also an Ended object can do it.
    /// Windows: any plain file of that name goes. One that is mapped is called
    /// `NAME.NUMBER.zukel-removed` until the last who holds it lets go of it; one who was killed
    /// may leave that file.
    int Remove(const zuString& name);

    /// The block in this process, aligned to 8 bytes; other processes have it at other addresses.
    /// Valid until the object, or a copy of it, lets go.
    void* GetBaseAddress() const;

    /// Its size in bytes, in every process as its creator asked for.
    unsigned long long GetSize() const;

    /// Whether the object is not Ended. It says nothing of a segment: see `GetBaseAddress`.
    bool IsValid() const;

private:
    kelSharedMemoryRecord* record_;
};
