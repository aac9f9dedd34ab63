#pragma once

#include "platform/Files.h"

namespace zukel::platform {

/// The file keeps the descriptor.
inline int DescriptorOf(const FileHandle& file) noexcept {
    return static_cast<int>(file.Get());
}

}  // namespace zukel::platform
