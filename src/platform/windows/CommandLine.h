#pragma once

#include <string>
#include <vector>

namespace zukel::platform {

/// The command line of a program, written so that the C library of the program takes it apart into
/// the arguments as they were given.
///
/// @param arguments the first is the program's name, without quotation marks.
std::wstring CommandLine(const std::vector<std::wstring>& arguments);

/// The command line of the command interpreter that runs a batch file. Each argument is in
/// quotation marks, within which the interpreter takes every character for itself but `"`, `%` and
/// the ends of lines.
///
/// @param script the absolute name of the batch file.
/// @param arguments the first is left out.
/// @returns false, with `line` unchanged, when one of the texts has such a character, or all of
/// them are longer than the interpreter reads.
bool BatchCommandLine(const std::wstring& interpreter, const std::wstring& script,
                      const std::vector<std::wstring>& arguments, std::wstring& line);

}  // namespace zukel::platform
