#pragma once

#include <apr_errno.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace zukel::platform {

/// The reason of the call that has just failed; never 0.
inline apr_status_t LastStatus() noexcept {
    return errno != 0 ? errno : APR_EGENERAL;
}

/// Of a call that returns 0 when it succeeds and otherwise leaves its reason in `errno`.
inline apr_status_t StatusOf(int result) noexcept {
    return result == 0 ? APR_SUCCESS : LastStatus();
}

// The four calls below are those of an open file. The C library's functions for them are
// cancellation points, at which a thread may be unwound, and functions of the platform are
// `noexcept`. `Uncancelled` would prevent that too, but costs a tenth of an opening.

inline int OpenDescriptor(const char* name, int flags, mode_t mode) noexcept {
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, name, flags | O_LARGEFILE, mode));
}

inline ssize_t ReadDescriptor(int descriptor, void* target, std::size_t size) noexcept {
    return static_cast<ssize_t>(syscall(SYS_read, descriptor, target, size));
}

inline ssize_t WriteDescriptor(int descriptor, const void* source, std::size_t size) noexcept {
    return static_cast<ssize_t>(syscall(SYS_write, descriptor, source, size));
}

inline int CloseDescriptor(int descriptor) noexcept {
    return static_cast<int>(syscall(SYS_close, descriptor));
}

/// Makes a system call that returns -1 on failure, and repeats it while a signal interrupts it.
template <typename Call>
auto Uninterrupted(Call call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace zukel::platform
