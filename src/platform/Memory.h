#pragma once

#include <cstdint>

/// What the platform provides for memory: one folder below this one implements
/// it.
namespace zukel::platform {

/// Marks a value that the platform does not provide.
inline constexpr std::uint64_t kUnknown = ~std::uint64_t{0};

/// Memory in bytes. An available value may be above its total: the caller handles that.
struct MemoryBytes {
    std::uint64_t totalPhysical = kUnknown;
    std::uint64_t availablePhysical = kUnknown;
    std::uint64_t totalVirtual = kUnknown;
    std::uint64_t availableVirtual = kUnknown;
    std::uint64_t totalPaging = kUnknown;
    std::uint64_t availablePaging = kUnknown;
};

/// The six values that the platform provides, as `kelMemoryInfo` explains them. Windows:
/// `GlobalMemoryStatusEx`. Linux: `/proc` and the cgroups below `/sys/fs/cgroup`.
MemoryBytes QueryMemory() noexcept;

}  // namespace zukel::platform
