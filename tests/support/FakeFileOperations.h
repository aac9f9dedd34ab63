#pragma once

#include <string>
#include <vector>

#include "platform/FileOperations.h"

namespace zukel::test {

/// What the platform answers to the operations on files by name, and what it was asked.
struct FakeFileOperations {
    std::vector<std::string> calls;  ///< In order, with their arguments.
    platform::CopyEnd copyEnd = platform::CopyEnd::Done;
    bool done = true;  ///< The answer of every other operation.

    FakeFileOperations() { current = this; }
    ~FakeFileOperations() { current = nullptr; }
    FakeFileOperations(const FakeFileOperations&) = delete;
    FakeFileOperations& operator=(const FakeFileOperations&) = delete;

    /// The one in use: the one that the running test has made.
    static FakeFileOperations* current;
};

}  // namespace zukel::test
