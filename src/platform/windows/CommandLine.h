#pragma once

#include <string>
#include <vector>

namespace zukel::platform {

/// Whether the runtime can be given this as a program's name: not empty, and with no quotation mark
/// in it but one at each end.
bool IsProgramName(const char* name) noexcept;

/// A program's arguments, written so that the child's C library reads them as they were given. The
/// runtime joins them to one line and puts quotation marks around those with white space, but
/// leaves what is in them alone.
class CommandLine {
public:
    /// @param arguments ends with null; the first is the program's name and stays as it is.
    explicit CommandLine(const char* const* arguments);

    const char* const* Get() const noexcept { return pointers_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<const char*> pointers_;
};

}  // namespace zukel::platform
