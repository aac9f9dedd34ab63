#pragma once

#include "Plan.h"

/// Does what was planned, until it is done or interrupted. The current directory is the target,
/// but in a dry run.
void DoPlan(const std::vector<Action>& actions, const Options& options, Screen& screen,
            Counts& counts);
