#pragma once

#include <cstddef>

namespace zukel::platform {

/// The `X` at the end of a name, which are replaced by random characters until the name is free.
class TemporaryTemplate {
public:
    /// @param name must outlive this object.
    /// @param most how many trailing `X` are replaced.
    TemporaryTemplate(char* name, std::size_t most) noexcept;

    /// Writes other characters. False after 100 names, or if the system has no random numbers.
    bool FillIn() noexcept;

private:
    char* marks_;
    std::size_t length_ = 0;
    int tried_ = 0;
};

}  // namespace zukel::platform
