#pragma once

#include <algorithm>
#include <cstddef>

#include "platform/Files.h"
#include "platform/windows/System.h"

namespace zukel::platform {

/// The handle stays the file's.
inline HANDLE HandleOf(const FileHandle& file) noexcept {
    return reinterpret_cast<HANDLE>(file.Get());
}

/// The size of one transfer: a file server may refuse larger ones, and the caller repeats the call.
inline DWORD AtOnce(std::size_t size) noexcept {
    constexpr std::size_t kMost = std::size_t{32} << 20U;
    return static_cast<DWORD>((std::min)(size, kMost));
}

}  // namespace zukel::platform
