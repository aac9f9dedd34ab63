#include "kelString.h"

#include <apr_strings.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

static_assert(sizeof(std::intmax_t) == sizeof(apr_int64_t));

namespace {

bool IsOneOf(char letter, const char* letters) noexcept {
    return letter != '\0' && std::strchr(letters, letter) != nullptr;
}

/// The number of bytes at `at` that are a length of the C library, unknown to APR, before a
/// directive for an integer.
int ForeignLength(const char* at) noexcept {
    const int length = at[0] == 'l' && at[1] == 'l' ? 2 : IsOneOf(at[0], "zj") ? 1 : 0;
    return length > 0 && IsOneOf(at[length], "diouxX") ? length : 0;
}

/// Skips the flags, the width and the precision of a directive.
const char* BehindWidth(const char* at) noexcept {
    return at + std::strspn(at, "-+ #0123456789.*");
}

bool HasForeignLength(const char* format) noexcept {
    for (const char* at = std::strchr(format, '%'); at != nullptr; at = std::strchr(at, '%')) {
        at = BehindWidth(at + 1);
        if (ForeignLength(at) > 0) {
            return true;
        }
        at += *at != '\0' ? 1 : 0;
    }
    return false;
}

/// Writes the format with APR's length `q` in their place, or with none where a size is no longer
/// than an `int`. It never gets longer.
void Translate(const char* format, char* to) noexcept {
    while (*format != '\0') {
        if (*format != '%') {
            *to++ = *format++;
            continue;
        }
        const char* const end = BehindWidth(format + 1);
        to = std::copy(format, end, to);
        format = end;
        if (const int length = ForeignLength(format)) {
            constexpr bool kLongSize = sizeof(std::size_t) > sizeof(int);
            if (kLongSize || *format != 'z') {
                *to++ = 'q';
            }
            format += length;
        }
        if (*format != '\0') {
            *to++ = *format++;
        }
    }
    *to = '\0';
}

}  // namespace

kelString& kelString::operator=(const kelString&) {
    return *this;
}

kelString& kelString::operator=(kelString&&) noexcept {
    return *this;
}

int kelString::vsnprintf(char* buffer, int size, char* format, va_list arguments) {
    char room[256];
    std::unique_ptr<char[]> longer;
    if (HasForeignLength(format)) {
        const std::size_t length = std::strlen(format) + 1;
        longer.reset(length > sizeof room ? new char[length] : nullptr);
        char* const translated = longer != nullptr ? longer.get() : room;
        Translate(format, translated);
        format = translated;
    }
    return apr_vsnprintf(buffer, static_cast<apr_size_t>(size), format, arguments);
}
