#pragma once

#include "kelExport.h"

/// The memory statistics of `kelSystem::GetMemoryDetails`, in units of 1024 bytes, rounded down.
/// All ones (0xFFFFFFFFFFFFFFFF) mark a value that was never filled, or that the platform does not
/// provide.
///
/// A used value is the difference of the other two, which are read together; it is all ones if one
/// of them is.
///
/// @code
/// kelMemoryInfo memory;
/// kelSystem::GetMemoryDetails(memory);
/// if (memory.availablePhysical != ~0ULL) {
///     std::printf("%llu MiB can be had\n", memory.availablePhysical >> 10);
/// }
/// @endcode
class KEL_API kelMemoryInfo {
public:
    /// Sets all values to all ones.
    kelMemoryInfo();
    /// Copies the nine values.
    kelMemoryInfo(const kelMemoryInfo& other) = default;
    ~kelMemoryInfo();
    /// Copies the nine values.
    kelMemoryInfo& operator=(const kelMemoryInfo& other);

    /// @name Physical memory
    /// Linux: total memory of the machine, or the lowest cgroup (v1 or v2) limit in
    /// `/sys/fs/cgroup` that applies to the process, whichever is less. Available is what can be
    /// allocated without swapping: unused memory and reclaimable caches. Windows: the machine's
    /// memory, and the available part of it.
    /// @{
    unsigned long long totalPhysical;      ///< All of it.
    unsigned long long usedPhysical;       ///< Total minus available.
    unsigned long long availablePhysical;  ///< What is left.
    /// @}

    /// @name Address space of the process
    /// Linux: total is the process's own limit (`RLIMIT_AS`) or, without one, what the processor
    /// offers a process; used is what is mapped. x86-64 offers 128 TiB. On other processors that is
    /// taken from where the process's stack begins, rounded up to a power of two, with 32 bits to a
    /// GiB. Windows: the user part of the address space; available is what is neither reserved nor
    /// committed.
    /// @{
    unsigned long long totalVirtual;      ///< All of it.
    unsigned long long usedVirtual;       ///< Total minus available.
    unsigned long long availableVirtual;  ///< What is left.
    /// @}

    /// @name Paging memory
    /// What the system can commit to processes, in memory and on disk. Linux: its commit limit
    /// (`CommitLimit`), and the part of it that is not yet committed; under the default overcommit
    /// policy the system continues to commit when nothing is available. Windows: the commit limit
    /// of the system or the process, and what the process can still commit.
    /// @{
    unsigned long long totalPaging;      ///< All of it.
    unsigned long long usedPaging;       ///< Total minus available.
    unsigned long long availablePaging;  ///< What is left.
    /// @}
};
