#include "platform/Memory.h"

#include "platform/windows/System.h"

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

}  // namespace zukel::platform
