#include "kelString.h"

#include <apr_strings.h>

kelString& kelString::operator=(const kelString&) {
    return *this;
}

kelString& kelString::operator=(kelString&&) noexcept {
    return *this;
}

int kelString::vsnprintf(char* buffer, int size, char* format, va_list arguments) {
    return apr_vsnprintf(buffer, static_cast<apr_size_t>(size), format, arguments);
}
