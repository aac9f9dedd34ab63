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
    bool replaces;  // the target exists
};

/// The path of the directory without links; empty if the directory cannot be entered.
zuString ResolvedPath(const zuString& directory);

/// Compares the two trees and returns the steps that make them equal, in order. Entries that are
/// skipped or cannot be read are reported and counted.
std::vector<Action> MakePlan(const Options& options, bool targetExists, Screen& screen,
                             Counts& counts);
