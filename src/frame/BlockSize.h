#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

namespace zukel {

/// The size of a block as a caller gives it, or the largest that a block in memory can have: where
/// addresses have 32 bits, that is less.
inline std::size_t BlockSize(unsigned long long size) noexcept {
    constexpr unsigned long long kMost = std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(std::min(size, kMost));
}

}  // namespace zukel
