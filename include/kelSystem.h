#pragma once

#include "kelExport.h"
#include "kelMemoryInfo.h"
#include "zuDiskInfo.h"

/// How much memory there is, and how much room a disk has. There is no state: all operations are
/// static, may be called from any thread and ask the platform at every call. The runtime is neither
/// needed nor started.
///
/// @code
/// zuDiskInfo disk;
/// if (kelSystem::GetFreeDiskSpace("/var/tmp", disk)) {
///     std::printf("%llu of %llu MiB free\n", disk.freeBytes >> 20, disk.totalBytes >> 20);
/// }
/// @endcode
class KEL_API kelSystem {
public:
    /// Returns the object: there is nothing to copy.
    kelSystem& operator=(const kelSystem& other);
    /// The same.
    kelSystem& operator=(kelSystem&& other) noexcept;

    /// Fills all figures of `info`; see `kelMemoryInfo` for what each one is. One that the platform
    /// cannot tell is all ones.
    static void GetMemoryDetails(kelMemoryInfo& info);

    /// @name Single figures
    /// In kilobytes of 1024 bytes. Each call asks the platform anew: figures that are to fit
    /// together come from one call of `GetMemoryDetails`.
    /// @{

    /// The figure of that name in `kelMemoryInfo`; all ones when the platform cannot tell it.
    static unsigned long long TotalPhysicalMemory();
    static unsigned long long UsedPhysicalMemory();
    static unsigned long long AvailablePhysicalMemory();
    static unsigned long long TotalVirtualMemory();
    static unsigned long long UsedVirtualMemory();
    static unsigned long long AvailableVirtualMemory();
    static unsigned long long TotalPagingMemory();
    static unsigned long long UsedPagingMemory();
    static unsigned long long AvailablePagingMemory();
    /// @}

    /// The room on the disk that holds the directory `path`, in bytes.
    ///
    /// @param path not null; relative to the current directory. Linux: any bytes; a path that is
    /// not a directory is answered as well. Windows: UTF-8; malformed text names no directory.
    /// @returns false, with `info` unchanged, when the platform refuses the path.
    static bool GetFreeDiskSpace(const char* path, zuDiskInfo& info);
};
