#pragma once

#include "kelExport.h"

/// The figures of `kelSystem::GetFreeDiskSpace`, in bytes.
class KEL_API zuDiskInfo {
public:
    zuDiskInfo() = default;
    zuDiskInfo(const zuDiskInfo& other) = default;
    ~zuDiskInfo() = default;
    zuDiskInfo& operator=(const zuDiskInfo& other);
    zuDiskInfo& operator=(zuDiskInfo&& other) noexcept;

    /// Free room that the calling user may take: without what is kept back for the administrator.
    /// Windows: within the user's quota.
    unsigned long long freeBytes = 0;
    /// Size of the disk. Windows: as the user's quota has it.
    unsigned long long totalBytes = 0;
};
