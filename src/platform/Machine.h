#pragma once

#include <apr_errno.h>

#include <cstdint>

/// What the platform provides for the machine. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// Size of a disk, and space on it, in bytes.
struct DiskBytes {
    std::uint64_t available = 0;  ///< To the calling user.
    std::uint64_t total = 0;
};

/// The size and the free space of the disk that holds the directory `path`. Windows:
/// `GetDiskFreeSpaceExW` on the UTF-16 form of the UTF-8 `path`. Linux: `statvfs` on its bytes.
///
/// @returns 0, or the reason, with `disk` unchanged, when the platform refuses the path.
apr_status_t QueryDisk(const char* path, DiskBytes& disk) noexcept;

/// The number of logical processors that the system runs, or 0. Windows: `GetSystemInfo`.
int NumberOfProcessors() noexcept;

/// The registers after the CPUID instruction.
struct CpuRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

/// Runs CPUID for `leaf` with sub-leaf 0. All zeros on a processor without the instruction.
CpuRegisters Cpuid(std::uint32_t leaf) noexcept;

}  // namespace zukel::platform
