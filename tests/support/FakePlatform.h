#pragma once

#include <apr_file_io.h>

#include <functional>
#include <string>
#include <vector>

namespace zukel::test {

/// The platform below the portable code under test. Each function of the seam records its call and
/// answers what the test has put in its place; without that it fails as its contract says.
struct FakePlatform {
    std::vector<std::string> calls;  ///< In order, with their arguments where tests look at them.

    std::function<int()> multibyteCodePage;
    std::function<int(const std::string& text, char16_t* buffer, int capacity)> utf8ToUtf16;
    std::function<unsigned(const char16_t* path, char16_t* buffer, unsigned capacity)> shortPath;
    std::function<bool(apr_file_t*)> closeInChildren;

    /// The one in use; each test makes its own with `UseFakePlatform`.
    static FakePlatform* current;
};

/// Puts a fresh stand-in below the portable code for the length of a test.
class UseFakePlatform : public FakePlatform {
public:
    UseFakePlatform() { current = this; }
    ~UseFakePlatform() { current = nullptr; }
    UseFakePlatform(const UseFakePlatform&) = delete;
    UseFakePlatform& operator=(const UseFakePlatform&) = delete;
};

}  // namespace zukel::test
