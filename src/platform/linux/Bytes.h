#pragma once

#include <cstdint>

#include "platform/Memory.h"

namespace zukel::platform {

/// So many units of a size, in bytes; `kUnknown` when that does not fit.
inline std::uint64_t Bytes(std::uint64_t count, std::uint64_t size) noexcept {
    std::uint64_t bytes = 0;
    return __builtin_mul_overflow(count, size, &bytes) ? kUnknown : bytes;
}

}  // namespace zukel::platform
