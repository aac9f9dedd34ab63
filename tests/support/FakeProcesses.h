#pragma once

#include <string>
#include <vector>

#include "platform/Processes.h"

namespace zukel::test {

/// The platform below `kelProcess`, for the length of a test. Each function of the seam records its
/// call; no process is started, asked or ended.
struct FakeProcesses {
    FakeProcesses() { current = this; }
    ~FakeProcesses() { current = nullptr; }
    FakeProcesses(const FakeProcesses&) = delete;
    FakeProcesses& operator=(const FakeProcesses&) = delete;

    std::vector<std::string> calls;

    apr_status_t launch = APR_SUCCESS;  ///< What a start comes to,
    int pid = 1000;                     ///< and the number of the child.
    apr_status_t end = APR_SUCCESS;
    bool running = true;

    static FakeProcesses* current;
};

}  // namespace zukel::test
