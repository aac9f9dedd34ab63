#pragma once

#include <sys/types.h>

#include <cstddef>

#include "platform/SharedSegments.h"

namespace zukel::platform {

/// A segment that this process holds: its mapping, and the file that it was made from.
struct Segment {
    Segment() = default;
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    void* base = nullptr;   ///< Of the mapped file; null while none is mapped.
    std::size_t bytes = 0;  ///< Of the file.
    dev_t device = 0;
    ino_t inode = 0;
};

}  // namespace zukel::platform
