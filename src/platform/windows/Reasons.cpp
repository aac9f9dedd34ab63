#include "platform/Reasons.h"

#include <cerrno>

#include "platform/windows/System.h"

namespace zukel::platform {

namespace {

struct Pair {
    apr_status_t status;
    DWORD number;
};

/// The C library's numbers, and what APR has added to them.
constexpr Pair kPairs[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOTDIR, ERROR_DIRECTORY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOSPC, ERROR_DISK_FULL},
    {ESPIPE, ERROR_SEEK_ON_DEVICE},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ETIMEDOUT, WAIT_TIMEOUT},
    {APR_EOF, ERROR_HANDLE_EOF},
    {APR_ENOPOOL, ERROR_NOT_ENOUGH_MEMORY},
    {APR_EDSOOPEN, ERROR_MOD_NOT_FOUND},
    {APR_ESYMNOTFOUND, ERROR_PROC_NOT_FOUND},
    {APR_EPROC_UNKNOWN, ERROR_INVALID_PARAMETER},
    {APR_ENOTIMPL, ERROR_NOT_SUPPORTED},
    {APR_TIMEUP, WAIT_TIMEOUT},
};

}  // namespace

int SystemNumber(apr_status_t status) noexcept {
    if (status == APR_SUCCESS || status >= APR_OS_START_SYSERR) {
        return APR_TO_OS_ERROR(status);
    }
    for (const Pair& each : kPairs) {
        if (each.status == status) {
            return static_cast<int>(each.number);
        }
    }
    return ERROR_GEN_FAILURE;
}

zuString SystemText(int number) {
    char buffer[512];
    return apr_strerror(SystemStatus(static_cast<DWORD>(number)), buffer, sizeof buffer);
}

}  // namespace zukel::platform
