#pragma once

#include "platform/Children.h"
#include "platform/windows/Handle.h"

namespace zukel::platform {

/// While its handle is open, the identifier of a child is not used again.
struct Child {
    Handle process;
    Handle job;  ///< Only if it was started as a group.
    DWORD identifier = 0;
};

/// Whether the process runs.
bool HandleRuns(const Handle& process) noexcept;

}  // namespace zukel::platform
