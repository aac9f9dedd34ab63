#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Machine.h"

namespace zukel::test {

/// The platform below the portable code, for the length of a test. What tests look at
/// is recorded; the answers are those that the test has put here.
struct UseFakePlatform {
    UseFakePlatform() { current = this; }
    ~UseFakePlatform() { current = nullptr; }

    std::vector<std::string> calls;
    int codePage = 0;
    int units = -1;  ///< What the conversion to UTF-16 answers; -1 for the truth.
    std::string shortPath;
    int measured = -1, fetched = -1;  ///< The sizes told of the short path; -1 for the truth.
    std::function<unsigned(char* buffer, unsigned size)> longName;
    platform::MemoryBytes memory;

    static inline UseFakePlatform* current = nullptr;
};

}  // namespace zukel::test
