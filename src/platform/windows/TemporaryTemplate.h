#pragma once

#include <cstddef>

namespace zukel::platform {

/// The `X` at the end of a name, which stand for signs to be tried until the name is free.
class TemporaryTemplate {
public:
    /// @param name stays as long as this object.
    /// @param most how many trailing `X` are replaced.
    TemporaryTemplate(char* name, std::size_t most) noexcept;

    /// Puts other signs there. False after many names, or when the system has no random numbers.
    bool FillIn() noexcept;

private:
    char* marks_;
    std::size_t length_ = 0;
    int tried_ = 0;
};

}  // namespace zukel::platform
