#pragma once

#include "kelExport.h"
#include "kelMemoryInfo.h"
#include "zuDiskInfo.h"

/// Memory statistics, and the free space of a disk. The class has no state: all operations are
/// static, may be called from any thread, query the platform at every call, and do not need APR.
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

    /// Fills all values of `info`, which `kelMemoryInfo` describes. One that the platform does not
    /// provide is all ones.
    static void GetMemoryDetails(kelMemoryInfo& info);

    /// @name Single values
    /// In units of 1024 bytes. Each call queries the platform again: for values that belong
    /// together call `GetMemoryDetails` once.
    /// @{

    /// The value of that name in `kelMemoryInfo`; all ones if the platform does not provide it.
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

    /// The size and the free space of the disk that holds `path`, a directory or a file.
    ///
    /// @param path not null; relative to the current directory. Linux: any bytes. Windows: UTF-8;
    /// invalid UTF-8 is refused.
    /// @returns false, with `info` unchanged, if the platform refuses the path.
    static bool GetFreeDiskSpace(const char* path, zuDiskInfo& info);
};
