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

/// Parses the command line. @returns -1, or an exit code if the program ends here.
int ReadArguments(int count, char** arguments, Options& options);
