#pragma once

#include <apr_errno.h>

#include <string>

namespace zukel::platform {

/// A program that was found.
struct FoundProgram {
    std::wstring path;   ///< Absolute.
    bool batch = false;  ///< A batch file, which the command interpreter has to run.
};

/// Looks for a program. A name without `/`, `\` and `:` is searched for in the system's directory,
/// in that of Windows, and along the absolute entries of `PATH`, but never in the current
/// directory; any other name is relative to `directory`. If the name ends in none of `.com`,
/// `.exe`,
/// `.bat` and `.cmd`, each is tried in turn, and then the name itself.
///
/// @param directory the child's working directory, or empty for the caller's.
/// @returns 0 or the reason. Throws `std::bad_alloc`.
apr_status_t FindProgram(const std::wstring& name, const std::wstring& directory,
                         FoundProgram& program);

/// The interpreter of batch files, in the system's own directory.
std::wstring CommandInterpreter();

/// The absolute form of a name; empty if the system returns none. Throws `std::bad_alloc`.
std::wstring AbsoluteName(const std::wstring& name);

}  // namespace zukel::platform
