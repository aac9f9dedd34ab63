#pragma once

#include <set>
#include <string>

#include "support/Guard.h"

/// The little of the system that tests ask for beyond the standard library.
namespace zukel::test {

/// Makes another directory the current one.
Guard WorkingDirectory(const std::string& path);

/// Takes root's power over permissions away; nothing to do for others.
Guard Unprivileged();

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails.
Guard FileSizeLimit(unsigned long long bytes);

/// The descriptors of this process that a program started now would inherit.
std::set<int> InheritedDescriptors();

}  // namespace zukel::test
