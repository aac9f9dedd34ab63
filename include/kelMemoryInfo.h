#pragma once

#include "kelExport.h"

/// The figures of `kelSystem::GetMemoryDetails`, in kilobytes of 1024 bytes, each rounded down. All
/// ones (0xFFFFFFFFFFFFFFFF) mark a figure that was never filled or that the platform cannot tell.
///
/// A used figure is the difference of the other two, which were read together; it is all ones where
/// one of them is.
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
    /// Sets all figures to all ones.
    kelMemoryInfo();
    /// Copies the nine figures.
    kelMemoryInfo(const kelMemoryInfo& other) = default;
    ~kelMemoryInfo();
    /// Copies the nine figures.
    kelMemoryInfo& operator=(const kelMemoryInfo& other);

    /// @name Physical memory
    /// Linux: what the process can have: the machine's memory, or the smallest limit of its control
    /// group and the groups above it, as they stand below `/sys/fs/cgroup`, when that is less.
    /// Available is what can be had without swapping: unused memory and what the system would give
    /// up of its caches. Windows: the machine's memory, and what of it is available.
    /// @{
    unsigned long long totalPhysical;      ///< All of it.
    unsigned long long usedPhysical;       ///< Total less available.
    unsigned long long availablePhysical;  ///< What is left.
    /// @}

    /// @name Address space of the process
    /// Linux: total is the process's own limit (`RLIMIT_AS`) or, without one, what the processor
    /// offers a process (x86-64: 128 TiB; others: up to where the process's stack begins, rounded
    /// up to a power of two, with 32 bits to a GiB); used is what is mapped. Windows: the user part
    /// of the address space, and what of it is neither reserved nor committed.
    /// @{
    unsigned long long totalVirtual;      ///< All of it.
    unsigned long long usedVirtual;       ///< Total less available.
    unsigned long long availableVirtual;  ///< What is left.
    /// @}

    /// @name Paging memory
    /// What the system can promise to processes, in memory and on disk. Linux: its commit limit
    /// (`CommitLimit`), and what of it is not yet promised; under the usual policy the system goes
    /// on promising when nothing of it is available. Windows: the commit limit of the system or the
    /// process, and what the process can still commit.
    /// @{
    unsigned long long totalPaging;      ///< All of it.
    unsigned long long usedPaging;       ///< Total less available.
    unsigned long long availablePaging;  ///< What is left.
    /// @}
};
