#pragma once

#include <apr_file_io.h>

/// What the portable code asks of the platform about files. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
namespace zukel::platform {

/// The multibyte code page in which the process reads narrow text, or 0 while that is a single-byte
/// code page. Windows: `_getmbcp`. Linux: 65001 whatever the locale: no call there reads a name
/// through a code page, so that none is lost in one, and there is no short path to look for.
int MultibyteCodePage() noexcept;

/// Converts UTF-8 to UTF-16. Windows: `MultiByteToWideChar` with code page 65001 and no flags.
///
/// @param text `length` bytes, without a terminator. Malformed text gives replacement characters.
/// @param buffer room for `capacity` units, or null with capacity 0 to measure.
/// @returns the number of units, without a terminator; 0 for an empty text or too little room.
/// Linux: 0; not needed there, see `MultibyteCodePage`.
int Utf8ToUtf16(const char* text, int length, char16_t* buffer, int capacity) noexcept;

/// The short (8.3) form of the path of a file that exists. Windows: `GetShortPathNameW`.
///
/// @param path ends with a NUL.
/// @param buffer room for `capacity` units, or null with capacity 0 to measure.
/// @returns to measure, the size in units with the terminator; to fetch, the length without it, or
/// the size needed when the room is too little; 0 on failure, which includes a path that does not
/// exist. Linux: 0; its file systems keep no short names.
unsigned ShortPath(const char16_t* path, char16_t* buffer, unsigned capacity) noexcept;

/// Sees to it that the open file does not reach child processes, where the runtime has left that
/// out (it does so for `APR_FOPEN_NOCLEANUP` on Linux). Windows: nothing to do, handles are not
/// inherited.
///
/// @returns false when the mark could not be set.
bool CloseInChildren(apr_file_t* file) noexcept;

/// Where the next byte that the system writes to the open file goes, or -1 for a file without a
/// position (a pipe).
long long WritePosition(apr_file_t* file) noexcept;

/// Moves that place. Linux: without effect on a file opened for appending.
void SetWritePosition(apr_file_t* file, long long position) noexcept;

}  // namespace zukel::platform
