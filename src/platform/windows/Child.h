#pragma once

#include "platform/Processes.h"
#include "platform/windows/Handle.h"

namespace zukel::platform {

/// A child keeps its identifier from being used again for as long as its handle is open.
struct Child {
    Handle process;
    Handle job;  ///< Of what was started for a group.
    DWORD identifier = 0;
};

}  // namespace zukel::platform
