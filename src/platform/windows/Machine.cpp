#include "platform/Machine.h"

#include <cpuid.h>

#include "platform/windows/WideName.h"

namespace zukel::platform {

MemoryBytes QueryMemory() noexcept {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (GlobalMemoryStatusEx(&status) == 0) {
        return {};
    }
    return {status.ullTotalPhys,    status.ullAvailPhys,     status.ullTotalVirtual,
            status.ullAvailVirtual, status.ullTotalPageFile, status.ullAvailPageFile};
}

bool QueryDisk(const char* path, DiskBytes& disk) noexcept {
    const WideName name(path);
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    ULARGE_INTEGER free{};
    // The empty name would stand for the current disk.
    if (!name || *name.Get() == L'\0' ||
        GetDiskFreeSpaceExW(name.Get(), &available, &total, &free) == 0) {
        return false;
    }
    disk.available = available.QuadPart;
    disk.total = total.QuadPart;
    return true;
}

int NumberOfProcessors() noexcept {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return static_cast<int>(info.dwNumberOfProcessors);
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    CpuRegisters registers;
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
}

void ReadTimeZone() noexcept {}

}  // namespace zukel::platform
