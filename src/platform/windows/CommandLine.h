#pragma once

#include <string>
#include <vector>

namespace zukel::platform {

/// The command line of a program, quoted so that Microsoft's C library splits it into these
/// arguments.
///
/// @param arguments the first is the program's name, without quotation marks.
std::wstring CommandLine(const std::vector<std::wstring>& arguments);

/// The command line by which `cmd.exe` runs a batch file. Each argument is in quotation marks,
/// within which only `"`, `%` and line ends are special to it.
///
/// @param script the absolute name of the batch file.
/// @param arguments the first is left out.
/// @returns false, with `line` unchanged, if a text has such a character, or the line is longer
/// than `cmd.exe` accepts.
bool BatchCommandLine(const std::wstring& interpreter, const std::wstring& script,
                      const std::vector<std::wstring>& arguments, std::wstring& line);

}  // namespace zukel::platform
