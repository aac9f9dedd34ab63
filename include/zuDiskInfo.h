#pragma once

#include "kelExport.h"

/// The figures of `kelSystem::GetFreeDiskSpace`, in bytes.
///
/// @code
/// zuDiskInfo disk;
/// if (kelSystem::GetFreeDiskSpace(".", disk) && disk.freeBytes < disk.totalBytes / 100) {
///     std::puts("this disk is nearly full");
/// }
/// @endcode
class KEL_API zuDiskInfo {
public:
    /// Sets both figures to 0.
    zuDiskInfo() = default;
    /// Copies both figures.
    zuDiskInfo(const zuDiskInfo& other) = default;
    ~zuDiskInfo() = default;
    /// Copies both figures.
    zuDiskInfo& operator=(const zuDiskInfo& other);
    /// The same.
    zuDiskInfo& operator=(zuDiskInfo&& other) noexcept;

    /// Free room that the calling user may take: without what is kept back for the administrator.
    /// Windows: within the user's quota.
    unsigned long long freeBytes = 0;
    /// Size of the disk. Windows: as the user's quota has it.
    unsigned long long totalBytes = 0;
};
