#pragma once

#include <cstdarg>

#include "kelExport.h"

/// Formatting into a buffer. The class has no state, and its operation may be called from any
/// thread.
///
/// @code
/// int Format(char* buffer, int size, char* format, ...) {
///     va_list arguments;
///     va_start(arguments, format);
///     const int length = kelString::vsnprintf(buffer, size, format, arguments);
///     va_end(arguments);
///     return length;
/// }
///
/// int main() {
///     char text[12];
///     char format[] = "%d files, %qd bytes";
///     const int length = Format(text, sizeof text, format, 3, 5000000000LL);
///     std::printf("%d: %s\n", length, text);  // prints: 11: 3 files, 50
///     return 0;
/// }
/// @endcode
class KEL_API kelString {
public:
    /// Returns the object: there is nothing to copy.
    kelString& operator=(const kelString& other);
    /// The same.
    kelString& operator=(kelString&& other) noexcept;

    /// Writes at most `size` - 1 characters and a NUL into `buffer`.
    ///
    /// The directives are those of APR's formatter, not of the C library's: `d i u o x X c s f e E
    /// g G n %` and `pp` for a pointer. The lengths are `h`, `l` and `q` (64 bits). Note that
    /// - the letter after `%p` is a part of it, and all but `%pp` read what is pointed to;
    /// - the lengths `ll`, `z` and `j` of the C library are accepted before `d i u o x X`, on every
    ///   platform;
    /// - `%hhd` produces the text `%hd`, and `%a` the text `%a`; neither takes an argument from the
    ///   list;
    /// - `f`, `e` and `g` serve magnitudes below 1e73.
    ///
    /// Windows: `I64` is a length as well.
    ///
    /// @param size not negative. With 0 nothing is written and `buffer` may be null.
    /// @param format is not changed. Throws `std::bad_alloc` only for a format of more than 255
    /// bytes that contains one of the lengths `ll`, `z` and `j`.
    ///
    /// @returns the length of the text, without the NUL. Text that does not fit is truncated and
    /// gives `size` - 1, as an exact fit does. With `size` 0: the length of the whole text.
    static int vsnprintf(char* buffer, int size, char* format, va_list arguments);
};
