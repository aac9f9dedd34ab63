#pragma once

#include "kelExport.h"

/// The size and the free space of a disk, from `kelSystem::GetFreeDiskSpace`, in bytes.
///
/// @code
/// zuDiskInfo disk;
/// if (kelSystem::GetFreeDiskSpace(".", disk) && disk.freeBytes < disk.totalBytes / 100) {
///     std::puts("this disk is nearly full");
/// }
/// @endcode
class KEL_API zuDiskInfo {
public:
    /// Sets both values to 0.
    zuDiskInfo() = default;
    /// Copies both values.
    zuDiskInfo(const zuDiskInfo& other) = default;
    ~zuDiskInfo() = default;
    /// Copies both values.
    zuDiskInfo& operator=(const zuDiskInfo& other);
    /// The same.
    zuDiskInfo& operator=(zuDiskInfo&& other) noexcept;

    /// Bytes available to the calling user, excluding those reserved for root. Windows: within the
    /// user's quota.
    unsigned long long freeBytes = 0;
    /// Size of the disk. Windows: as limited by the user's quota.
    unsigned long long totalBytes = 0;
};
