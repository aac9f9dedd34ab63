#pragma once

#include <cstdint>

namespace zukel::platform {

/// What a new segment could take at most: available memory and, where no group sets a limit, free
/// swap space.
std::uint64_t AvailableForSegments() noexcept;

}  // namespace zukel::platform
