#pragma once

#include <string>
#include <vector>

/// @file
/// The text and list types of all interfaces.

/// A string of bytes, used unchanged. Linux: a file name is any bytes. Windows: a file name is
/// UTF-8, and invalid UTF-8 names no file. A name that contains a NUL names no file either.
using zuString = std::string;

/// A list of values.
template <typename T>
using zuStlVector = std::vector<T>;
