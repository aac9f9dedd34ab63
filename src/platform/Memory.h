#pragma once

#include <cstdint>

/// What the portable code asks of the platform about memory: one folder below this one implements
/// it.
namespace zukel::platform {

/// Marks a figure that the platform cannot tell.
inline constexpr std::uint64_t kUnknown = ~std::uint64_t{0};

/// Memory in bytes. An available figure may be above its total: the caller settles that.
struct MemoryBytes {
    std::uint64_t totalPhysical = kUnknown;
    std::uint64_t availablePhysical = kUnknown;
    std::uint64_t totalVirtual = kUnknown;
    std::uint64_t availableVirtual = kUnknown;
    std::uint64_t totalPaging = kUnknown;
    std::uint64_t availablePaging = kUnknown;
};

/// The six figures that the platform can tell, as `kelMemoryInfo` explains them. Windows:
/// `GlobalMemoryStatusEx`. Linux: `/proc` and the control groups below `/sys/fs/cgroup`.
MemoryBytes QueryMemory() noexcept;

}  // namespace zukel::platform
