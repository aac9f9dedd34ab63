#pragma once

#include <cstdint>

/// What the portable code asks of the platform about the process's surroundings. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// Whether the system can keep this variable, before the runtime is asked to set it. Windows: the
/// name is not empty and has no `=`, and neither text is longer than the system's 32766 units,
/// beyond which its narrow call ends the process (Wine 8). Linux: true; the runtime finds out.
bool MayBeEnvironmentVariable(const char* name, const char* value) noexcept;

/// Repeats in the C library's own table, the one that `getenv` reads, a variable that the runtime
/// has set. Windows: `_putenv_s`, whose status is dropped, and
/// the runtime's value again where that call has changed it. Linux: nothing; there is one table.
void RepeatEnvironmentVariable(const char* name, const char* value) noexcept;

/// Names a locale, as a value: nothing is held or has to be given up. Windows: the LCID. Linux:
/// what the platform folder packs into it.
using LocaleId = std::uint64_t;

/// What can be asked about a locale.
enum class LocaleFact {
    Language,  ///< Letters, of which the first two are the language. Windows: 89.
    Country,   ///< Letters, of which the first two are the country. Windows: 90.
    CodePage   ///< Decimal digits. Windows: 4100.
};

/// The locale of the calling thread. Windows: `GetThreadLocale`. Linux: the locale of the category
/// LC_CTYPE in use; while that is the C locale, the one that the environment names.
LocaleId ThreadLocale() noexcept;

/// Writes one fact about the locale as text. Windows: `GetLocaleInfoA`.
///
/// @param buffer room for `size` bytes.
/// @returns the number of bytes written, the terminating NUL included; 0 when the platform cannot
/// tell or the room is too little.
int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept;

/// The name of a file that exists with its short (8.3) components replaced by the long ones.
/// Windows: `GetLongPathNameA`.
///
/// @param buffer room for `size` bytes.
/// @returns the length of the text written, without the terminating NUL; when the room is too
/// little, the size that is needed, with it; 0 on failure, such as for a file that does not exist.
/// Linux: 0; its file systems keep no short names.
unsigned LongName(const char* name, char* buffer, unsigned size) noexcept;

}  // namespace zukel::platform
