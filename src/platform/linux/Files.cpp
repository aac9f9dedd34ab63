#include "platform/Files.h"

#include <apr_portable.h>
#include <fcntl.h>
#include <unistd.h>

namespace zukel::platform {

namespace {

/// -1 when the runtime has closed the file.
int Descriptor(apr_file_t* file) noexcept {
    apr_os_file_t descriptor = -1;
    return apr_os_file_get(&descriptor, file) == APR_SUCCESS ? descriptor : -1;
}

}  // namespace

int MultibyteCodePage() noexcept {
    return 65001;
}

int Utf8ToUtf16(const char*, int, char16_t*, int) noexcept {
    return 0;
}

unsigned ShortPath(const char16_t*, char16_t*, unsigned) noexcept {
    return 0;
}

bool CloseInChildren(apr_file_t* file) noexcept {
    return fcntl(Descriptor(file), F_SETFD, FD_CLOEXEC) == 0;
}

long long WritePosition(apr_file_t* file) noexcept {
    return lseek(Descriptor(file), 0, SEEK_CUR);
}

void SetWritePosition(apr_file_t* file, long long position) noexcept {
    lseek(Descriptor(file), position, SEEK_SET);
}

}  // namespace zukel::platform
