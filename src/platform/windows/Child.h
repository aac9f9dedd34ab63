#pragma once

#include "platform/Children.h"
#include "platform/windows/Handle.h"

namespace zukel::platform {

/// A child keeps its identifier from being used again for as long as its handle is open.
struct Child {
    Handle process;
    Handle job;  ///< Of what was started for a group.
    DWORD identifier = 0;
};

/// Whether the process of the handle runs.
bool HandleRuns(const Handle& process) noexcept;

}  // namespace zukel::platform
