#pragma once

#include <chrono>

#include "Options.h"

/// A name as it can be shown: control characters are written in octal.
zuString Shown(const zuString& name);

/// All that is printed: lines, and on a terminal a bar below them.
class Screen {
public:
    explicit Screen(Talk talk);
    ~Screen() { Clear(); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    void Did(const char* what, const zuString& name);
    void Problem(const char* what, const zuString& name);
    void Progress(unsigned long long done, unsigned long long all);
    /// Takes the bar away.
    void Clear();

private:
    Talk talk_;
    bool bar_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point last_;
};
