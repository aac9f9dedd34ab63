#pragma once

#include <apr_errno.h>

#include <cstdint>

#include "zuString.h"

/// What the portable code asks of the platform about the process's surroundings. Plain functions,
/// chosen at link time: one folder below this one implements each of them.
namespace zukel::platform {

/// Reads a variable of the process's environment. Linux: `getenv`. Windows:
/// `GetEnvironmentVariableW` on the UTF-16 forms of the UTF-8 texts.
///
/// @param value unchanged on failure.
/// @returns false when it is not set. Throws `std::bad_alloc`.
bool ReadEnvironmentVariable(const char* name, zuString& value);

/// Sets a variable of the process's environment, for the system and for the C library's `getenv`
/// alike. Windows: the name is not empty and has no `=`, and neither text is longer than the
/// system's 32766 units, beyond which its narrow call ends the process (Wine 8).
///
/// @returns 0, or the reason, with nothing changed, why the system cannot keep it.
apr_status_t WriteEnvironmentVariable(const char* name, const char* value) noexcept;

/// Takes a variable out of the process's environment, for the system and for the C library alike.
///
/// @returns 0 when there is none now, or the reason.
apr_status_t RemoveEnvironmentVariable(const char* name) noexcept;

/// All variables, "NAME=VALUE" each, in the system's order. Windows: some names begin with a `=`.
/// Throws `std::bad_alloc`.
///
/// @param variables unchanged on failure.
/// @returns 0 or the reason.
apr_status_t ReadEnvironment(zuStlVector<zuString>& variables);

/// Whether two names are of one variable. Windows: in upper or lower case.
bool IsSameVariable(const zuString& one, const zuString& other);

/// Tells the account name of the user that the process belongs to. Linux: by its real user
/// identifier.
///
/// @param name unchanged on failure.
/// @returns 0, or the reason when the system knows none. Throws `std::bad_alloc`.
apr_status_t QueryUserName(zuString& name);

/// Tells that user's home directory, as the system's user database has it.
///
/// @param directory unchanged on failure.
/// @returns 0, or the reason when the system knows none. Throws `std::bad_alloc`.
apr_status_t QueryUserDirectory(zuString& directory);

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
/// Windows: `GetLongPathNameW` on UTF-8.
///
/// @param buffer room for `size` bytes.
/// @returns the length of the text written, without the terminating NUL; when the room is too
/// little, the size that is needed, with it; 0 on failure, such as for a file that does not exist.
/// Linux: 0; its file systems keep no short names.
unsigned LongName(const char* name, char* buffer, unsigned size) noexcept;

}  // namespace zukel::platform
