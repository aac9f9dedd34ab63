#pragma once

#include <csignal>

/// What has been done, for the summary and the exit code.
struct Counts {
    unsigned long long copied = 0;
    unsigned long long bytes = 0;
    unsigned long long made = 0;
    unsigned long long removed = 0;
    unsigned long long unchanged = 0;
    unsigned long long leftOut = 0;
    unsigned long long failed = 0;
};

/// The signal that interrupted the run, or 0.
extern volatile std::sig_atomic_t interruptedBy;
