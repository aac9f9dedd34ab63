#pragma once

// Compiler-specific syntax. No other file of this folder has any.

#include <cstdint>

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace zukel::platform {

/// Runs CPUID for a leaf, with sub-leaf 0.
inline void CpuidInto(std::uint32_t leaf, std::uint32_t& eax, std::uint32_t& ebx,
                      std::uint32_t& ecx, std::uint32_t& edx) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
    int registers[4];
    __cpuidex(registers, static_cast<int>(leaf), 0);
    eax = static_cast<std::uint32_t>(registers[0]);
    ebx = static_cast<std::uint32_t>(registers[1]);
    ecx = static_cast<std::uint32_t>(registers[2]);
    edx = static_cast<std::uint32_t>(registers[3]);
#else
    __cpuid_count(leaf, 0, eax, ebx, ecx, edx);
#endif
}

}  // namespace zukel::platform
