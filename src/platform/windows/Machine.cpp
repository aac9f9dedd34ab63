#include "platform/Machine.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include "platform/windows/Compiler.h"
#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

/// As GetDiskFreeSpaceExW, which takes directories only, for the volume of an existing file.
bool QueryDiskOfFile(const wchar_t* name, ULARGE_INTEGER& available,
                     ULARGE_INTEGER& total) noexcept {
    wchar_t volume[1024];
    return GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES &&
           GetVolumePathNameW(name, volume, static_cast<DWORD>(std::size(volume))) != 0 &&
           GetDiskFreeSpaceExW(volume, &available, &total, nullptr) != 0;
}

}  // namespace

apr_status_t QueryDisk(const char* path, DiskBytes& disk) noexcept {
    const std::size_t length = std::strlen(path);
    const std::unique_ptr<char[]> directory(new (std::nothrow) char[length + 2]);
    if (!directory) {
        return APR_ENOMEM;
    }
    if (length == 0) {  // the system would take the current disk
        return APR_ENOENT;
    }
    std::memcpy(directory.get(), path, length + 1);
    if (std::strchr("/\\:", path[length - 1]) == nullptr) {  // required after the name of a share
        std::memcpy(directory.get() + length, "\\", 2);
    }
    const WideName name(directory.get());
    const WideName file(path);
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    if (!name || !file) {
        return name ? file.Status() : name.Status();
    }
    if (GetDiskFreeSpaceExW(name.Get(), &available, &total, nullptr) == 0 &&
        !QueryDiskOfFile(file.Get(), available, total)) {
        return LastStatus();
    }
    disk.available = available.QuadPart;
    disk.total = total.QuadPart;
    return APR_SUCCESS;
}

int NumberOfProcessors() noexcept {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return static_cast<int>(info.dwNumberOfProcessors);
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    CpuRegisters registers;
    CpuidInto(leaf, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
}

}  // namespace zukel::platform
