#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/Children.h"

namespace zukel::platform {

/// The names that a search for `command` along the path tries, in order. Throws `std::bad_alloc`.
std::vector<std::string> Candidates(const char* command);

/// Starts a program as `Launch` describes it, without adding it to the list of children.
///
/// @param pid receives the pid of the child, which the caller must reap.
/// @returns 0, or the error number with no child left. Throws `std::bad_alloc` likewise.
int Spawn(const Program& program, pid_t& pid);

}  // namespace zukel::platform
