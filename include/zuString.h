#pragma once

#include <string>
#include <vector>

/// @file
/// The text and list types of all interfaces.

/// A string of bytes. The library hands its bytes on unchanged, up to the first NUL where a system
/// call takes it; Linux: a file name is any bytes; Windows: file names are read as UTF-8 by the
/// runtime, and in the process's code page by `kelFile::NativeCopy`, `NativeRename` and
/// `SetPermissions` and where `kelLibrary::GetAbsoluteFileName` replaces short names. The two agree
/// in a program whose manifest makes its code page UTF-8 (`activeCodePage`).
using zuString = std::string;

/// A list of values, owned by whoever holds it.
template <typename T>
using zuStlVector = std::vector<T>;
