#include "platform/FileLocks.h"

#include <algorithm>

#include "platform/windows/HandleOf.h"
#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

/// A byte that no file has: locks are mandatory, and one of the contents would keep others from
/// reading.
OVERLAPPED LockedPlace() noexcept {
    OVERLAPPED place{};
    place.Offset = 0xFFFFFFFE;
    place.OffsetHigh = 0x7FFFFFFF;
    return place;
}

apr_status_t Lock(const FileHandle& file, DWORD flags) noexcept {
    OVERLAPPED place = LockedPlace();
    return LockFileEx(HandleOf(file), flags, 0, 1, 0, &place) != 0 ? APR_SUCCESS : LastStatus();
}

}  // namespace

apr_status_t LockWholeFile(const FileHandle& file, LockKind kind, long long microseconds) noexcept {
    const DWORD how = kind == LockKind::Exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0;
    if (microseconds < 0) {
        return Lock(file, how);
    }
    constexpr DWORD kLongestPause = 16;
    const ULONGLONG began = GetTickCount64();
    const auto wanted = static_cast<ULONGLONG>(microseconds) / 1000 + (microseconds % 1000 != 0);
    apr_status_t status = Lock(file, how | LOCKFILE_FAIL_IMMEDIATELY);
    for (DWORD pause = 1; APR_STATUS_IS_EAGAIN(status);
         pause = std::min(pause * 2, kLongestPause)) {
        const ULONGLONG passed = GetTickCount64() - began;
        if (passed >= wanted) {
            break;
        }
        Sleep(static_cast<DWORD>(std::min<ULONGLONG>(pause, wanted - passed)));
        status = Lock(file, how | LOCKFILE_FAIL_IMMEDIATELY);
    }
    return status;
}

apr_status_t UnlockWholeFile(const FileHandle& file) noexcept {
    OVERLAPPED place = LockedPlace();
    return UnlockFileEx(HandleOf(file), 0, 1, 0, &place) != 0 ? APR_SUCCESS : LastStatus();
}

}  // namespace zukel::platform
