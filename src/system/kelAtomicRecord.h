#pragma once

#include <atomic>
#include <cstdint>

#include "frame/SharedRecord.h"

struct kelAtomicRecord : zukel::SharedRecord {
    std::atomic<std::uint32_t> value{0};
};
