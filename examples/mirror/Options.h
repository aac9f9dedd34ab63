#pragma once

#include <zuString.h>

enum class Talk { Quiet, Normal, Verbose };

struct Options {
    bool dryRun = false;
    bool follow = false;
    bool remove = false;
    bool sync = true;
    Talk talk = Talk::Normal;
    zuString source;
    zuString target;
};

/// Reads the command line. @returns -1, or the exit code when there is nothing to do.
int ReadArguments(int count, char** arguments, Options& options);
