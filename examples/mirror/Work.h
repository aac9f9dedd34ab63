#pragma once

#include "Plan.h"

/// Carries out the plan until it is done or interrupted. The current directory must be the target,
/// except in a dry run.
void DoPlan(const std::vector<Action>& actions, const Options& options, Screen& screen,
            Counts& counts);
