#include "platform/Machine.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/linux/Bytes.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace zukel::platform {

apr_status_t QueryDisk(const char* path, DiskBytes& disk) noexcept {
    const Uncancelled uncancelled;
    struct statvfs facts {};
    if (Uninterrupted([&] { return statvfs(path, &facts); }) != 0) {
        return errno;
    }
    disk.available = Bytes(facts.f_bavail, facts.f_frsize);
    disk.total = Bytes(facts.f_blocks, facts.f_frsize);
    return APR_SUCCESS;
}

int NumberOfProcessors() noexcept {
    return static_cast<int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 0L));
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    CpuRegisters registers;
#if defined(__x86_64__) || defined(__i386__)
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
#else
    static_cast<void>(leaf);
#endif
    return registers;
}

}  // namespace zukel::platform
