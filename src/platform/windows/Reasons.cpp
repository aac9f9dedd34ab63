#include "platform/Reasons.h"

#include <cerrno>
#include <iterator>

#include "platform/windows/WideName.h"

namespace zukel::platform {

namespace {

struct Pair {
    apr_status_t status;
    DWORD number;
};

/// Numbers of the C library and of APR.
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
    // APR (1.7.2) returns the text in the process's code page, with the ends of its lines as
    // blanks.
    wchar_t text[512];
    constexpr DWORD kHow = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                           FORMAT_MESSAGE_MAX_WIDTH_MASK;  // ends of lines become blanks
    const DWORD length = FormatMessageW(kHow, nullptr, static_cast<DWORD>(number), 0, text,
                                        static_cast<DWORD>(std::size(text)), nullptr);
    std::wstring told(text, length);
    told.erase(told.find_last_not_of(L" \r\n") + 1);
    if (!told.empty()) {
        return ToUtf8(told);
    }
    char buffer[512];
    return apr_strerror(SystemStatus(static_cast<DWORD>(number)), buffer, sizeof buffer);
}

}  // namespace zukel::platform
