#pragma once

#include <sys/types.h>

#include "platform/Processes.h"

namespace zukel::platform {

/// Starts a program as `Launch` describes it, without knowing of the children that there are.
///
/// @param pid receives the number of the child, which the caller has to collect.
/// @returns 0, or the error number with no child left. Throws `std::bad_alloc` likewise.
int Spawn(const Program& program, pid_t& pid);

}  // namespace zukel::platform
