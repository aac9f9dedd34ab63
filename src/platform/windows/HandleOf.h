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

/// One call moves no more: a server need not take more, and the caller asks again.
inline DWORD AtOnce(std::size_t size) noexcept {
    constexpr std::size_t kMost = std::size_t{32} << 20U;
    return static_cast<DWORD>((std::min)(size, kMost));
}

}  // namespace zukel::platform
