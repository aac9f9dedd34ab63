#include "platform/Files.h"

#include <apr_portable.h>
#include <fcntl.h>
#include <unistd.h>

#include "zubase/Utf16.h"

namespace zukel::platform {

namespace {

/// -1 when the runtime has closed the file.
int Descriptor(apr_file_t* file) noexcept {
    apr_os_file_t descriptor = -1;
    return apr_os_file_get(&descriptor, file) == APR_SUCCESS ? descriptor : -1;
}

}  // namespace

int MultibyteCodePage() noexcept {
    return 0;
}

int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    const auto bytes = static_cast<std::size_t>(length);
    const int units = static_cast<int>(Utf16Length(text, bytes));
    if (buffer != nullptr) {
        if (units > capacity) {
            return 0;
        }
        ConvertToUtf16(text, bytes, buffer);
    }
    return units;
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
