#pragma once

#include <functional>

namespace zukel::test {

/// Undoes at the end of a scope what the function that gave it has done.
class [[nodiscard]] Guard {
public:
    explicit Guard(std::function<void()> undo) : undo_(std::move(undo)) {}
    ~Guard() { undo_(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    std::function<void()> undo_;
};

}  // namespace zukel::test
