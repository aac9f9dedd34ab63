#pragma once

#include "kelProcessOptions.h"
#include "platform/Children.h"
#include "platform/Pipes.h"

namespace zukel {

/// What to do with a stream whose file cannot be opened.
enum class WithoutFile { Fails, GoesNowhere };

/// Starts a program as `kelProcessOptions` describes. Throws `std::bad_alloc`, before anything is
/// started.
///
/// @param group for `platform::EndGroup`.
/// @param child receives the child; unchanged on failure.
/// @param pipes receives the ends of the pipes that the options ask for; must have none before.
/// @returns 0 or the reason.
apr_status_t StartProgram(const kelProcessOptions& options, WithoutFile without, bool group,
                          platform::ChildHandle& child, platform::Pipes& pipes);

}  // namespace zukel
