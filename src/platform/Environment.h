#pragma once

#include <apr_errno.h>

#include <cstdint>

#include "zuString.h"

/// What the platform provides for the process's environment. Plain functions, chosen at link time:
/// one folder below this one implements each of them.
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

/// Removes a variable from the process's environment, for the system and for the C library alike.
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

/// Reports the account name of the user that the process belongs to. Linux: by its real user
/// identifier.
///
/// @param name unchanged on failure.
/// @returns 0, or the reason when the system knows none. Throws `std::bad_alloc`.
apr_status_t QueryUserName(zuString& name);

/// Reports that user's home directory, as the system's user database has it.
///
/// @param directory unchanged on failure.
/// @returns 0, or the reason when the system knows none. Throws `std::bad_alloc`.
apr_status_t QueryUserDirectory(zuString& directory);

/// Identifies a locale by a value that need not be released. Windows: the LCID. Linux: as packed by
/// the platform folder.
using LocaleId = std::uint64_t;

/// What can be queried of a locale.
enum class LocaleFact {
    Language,  ///< Letters, of which the first two are the language. Windows: 89.
    Country,   ///< Letters, of which the first two are the country. Windows: 90.
    CodePage   ///< Decimal digits. Windows: 4100.
};

/// The locale of the calling thread. Windows: `GetThreadLocale`. Linux: the locale of the category
/// LC_CTYPE in use; while that is the C locale, the one that the environment names.
LocaleId ThreadLocale() noexcept;

/// Writes one property of the locale as text. Windows: `GetLocaleInfoA`.
///
/// @param buffer room for `size` bytes.
/// @returns the number of bytes written, including the terminating NUL; 0 if unknown or if the
/// buffer is too small.
int LocaleText(LocaleId locale, LocaleFact fact, char* buffer, int size) noexcept;

/// The name of a file that exists with its short (8.3) components replaced by the long ones.
/// Windows: `GetLongPathNameW` on UTF-8.
///
/// @param buffer room for `size` bytes.
/// @returns the length of the text written, without the terminating NUL; if the buffer is too
/// small, the size needed, with it; 0 on failure, such as for a file that does not exist. Linux: 0;
/// its file systems keep no short names.
unsigned LongName(const char* name, char* buffer, unsigned size) noexcept;

}  // namespace zukel::platform
