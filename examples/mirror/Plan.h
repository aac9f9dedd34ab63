#pragma once

#include <vector>

#include "Counts.h"
#include "Options.h"
#include "Screen.h"

struct Action {
    enum Kind { MakeDirectory, CopyFile, Remove } kind;
    zuString name;  // below source and target
    int perms;
    unsigned long long size;
    bool replaces;  // a file that is there already
};

/// The directory by its true name, without links; empty when it cannot be entered.
zuString TrueName(const zuString& directory);

/// Compares the two trees and says what there is to do, in order. What cannot be done, or is left
/// out, is told and counted on the way.
std::vector<Action> MakePlan(const Options& options, bool targetExists, Screen& screen,
                             Counts& counts);
