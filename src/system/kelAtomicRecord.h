#pragma once

#include <apr_atomic.h>

#include "frame/Pool.h"
#include "frame/SharedRecord.h"

struct kelAtomicRecord : zukel::SharedRecord {
    volatile apr_uint32_t value = 0;
    zukel::Pool pool;  ///< Last: see `Pool`.

    kelAtomicRecord() {
        if (pool) {
            apr_atomic_init(pool.Get());
        }
        apr_atomic_set32(&value, 0);
    }
};
