#pragma once

#include <apr_time.h>

#include <cstddef>
#include <cstdint>

/// What the platform provides for the machine and its clock. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
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

/// Size of a disk, and space on it, in bytes.
struct DiskBytes {
    std::uint64_t available = 0;  ///< To the calling user.
    std::uint64_t total = 0;
};

/// The size and the free space of the disk that holds the directory `path`. Windows:
/// `GetDiskFreeSpaceExW` on the UTF-16 form of the UTF-8 `path`. Linux: `statvfs` on its bytes.
///
/// @returns false, with `disk` unchanged, when the platform refuses the path.
bool QueryDisk(const char* path, DiskBytes& disk) noexcept;

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

/// Splits a moment into its date in UTC. A moment between two seconds belongs to the one
/// before it, as with APR only from 1970 on. Linux: `gmtime_r`. Windows: computed; APR (1.7.2)
/// drops the system's refusal of dates before 1601 and after 30827.
///
/// @returns APR's status.
apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept;

/// Splits a moment into its date in local time. Linux: `localtime_r`. Windows: by the rules that
/// the system's zone has in that year, within those years alone.
///
/// @returns APR's status.
apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept;

/// Makes the next conversion to local time one for the zone that the process is set to now.
/// Windows: nothing to do, each conversion queries the system. Linux: `tzset`; without it the
/// variable `TZ` is read only once.
void ReadTimeZone() noexcept;

/// Writes a date by a pattern of `strftime`, names in the language of the program's locale. Linux:
/// `apr_strftime`. Windows: what glibc writes in its C locale, with the date's own offset for `%z`.
///
/// @param buffer room for `size` bytes; its content is undefined on failure.
/// @param length receives the number of bytes; a NUL need not follow them.
/// @returns false when the text has `size` bytes or more, or the system refuses the pattern. Throws
/// `std::bad_alloc`.
bool FormatDate(const apr_time_exp_t& date, const char* pattern, char* buffer, std::size_t size,
                std::size_t& length);

}  // namespace zukel::platform
