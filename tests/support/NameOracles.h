#pragma once

#include <string>

namespace zukel::test {

/// Folds `input` as a path, and finds the way from what stands before its first `|` to what stands
/// behind it, beside a second implementation of both that is written another way, plain and slow.
/// An empty text when they agree, else what they answered.
std::string CheckNames(const std::string& input);

}  // namespace zukel::test
