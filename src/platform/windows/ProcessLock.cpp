#include "platform/ProcessLock.h"

#include <windows.h>

#include <cstdio>

namespace zukel::platform {

std::intptr_t LockProcess() noexcept {
    char name[48];
    std::snprintf(name, sizeof name, "Local\\zukel-process-%lu", GetCurrentProcessId());
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, name);
    if (mutex != nullptr) {
        WaitForSingleObject(mutex, INFINITE);
    }
    return reinterpret_cast<std::intptr_t>(mutex);
}

void UnlockProcess(std::intptr_t lock) noexcept {
    if (const auto mutex = reinterpret_cast<HANDLE>(lock)) {
        ReleaseMutex(mutex);
        CloseHandle(mutex);
    }
}

}  // namespace zukel::platform
