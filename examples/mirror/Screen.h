#pragma once

#include <chrono>

#include "Options.h"

/// The name with its control characters escaped in octal.
zuString Shown(const zuString& name);

/// The output: lines and, on a terminal, a progress bar below them.
class Screen {
public:
    explicit Screen(Talk talk);
    ~Screen() { Clear(); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    void Did(const char* what, const zuString& name);
    void Problem(const char* what, const zuString& name);
    void Progress(unsigned long long done, unsigned long long all);
    /// Removes the bar.
    void Clear();

private:
    Talk talk_;
    bool bar_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point last_;
};
