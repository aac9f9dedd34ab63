#include "platform/Files.h"

#include <apr_portable.h>
#include <mbctype.h>

namespace zukel::platform {

namespace {
HANDLE HandleOf(apr_file_t* file) noexcept {
    apr_os_file_t handle = INVALID_HANDLE_VALUE;
    return apr_os_file_get(&handle, file) == APR_SUCCESS ? handle : INVALID_HANDLE_VALUE;
}
}  // namespace

static_assert(sizeof(wchar_t) == sizeof(char16_t));

int MultibyteCodePage() noexcept {
    return _getmbcp();
}

int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept {
    return MultiByteToWideChar(CP_UTF8, 0, text, length, reinterpret_cast<wchar_t*>(buffer),
                               capacity);
}

unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned capacity) noexcept {
    return GetShortPathNameW(reinterpret_cast<const wchar_t*>(path),
                             reinterpret_cast<wchar_t*>(buffer), capacity);
}

bool CloseInChildren(apr_file_t*) noexcept {
    return true;
}

long long WritePosition(apr_file_t* file) noexcept {
    HANDLE handle = HandleOf(file);
    LARGE_INTEGER position{};
    const bool told = GetFileType(handle) == FILE_TYPE_DISK &&
                      SetFilePointerEx(handle, {}, &position, FILE_CURRENT) != 0;
    return told ? position.QuadPart : -1;
}

void SetWritePosition(apr_file_t* file, long long position) noexcept {
    LARGE_INTEGER place{};
    place.QuadPart = position;
    SetFilePointerEx(HandleOf(file), place, nullptr, FILE_BEGIN);
}

}  // namespace zukel::platform
