#pragma once

#include <apr_file_info.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/Environment.h"

namespace zukel::test {

/// The platform below the operations on surroundings and file facts, for the length of a test. Each
/// function of the seam records its call and answers what the test has put in its place; without
/// that it fails as its contract says.
struct FakeEnvironment {
    FakeEnvironment() { current = this; }
    ~FakeEnvironment() { current = nullptr; }
    FakeEnvironment(const FakeEnvironment&) = delete;
    FakeEnvironment& operator=(const FakeEnvironment&) = delete;

    std::vector<std::string> calls;

    std::function<int(platform::LocaleFact, char* buffer, int size)> localeText;
    std::function<unsigned(const std::string& name, char* buffer, unsigned size)> longName;
    std::function<apr_status_t(apr_finfo_t&, apr_int32_t wanted)> queryFile;
    std::function<apr_status_t(apr_finfo_t&)> queryPermissions;

    static FakeEnvironment* current;
};

}  // namespace zukel::test
