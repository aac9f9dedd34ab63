#pragma once

#include <apr_general.h>
#include <apr_pools.h>

/// A pool of APR, which is started for it.
class Pool {
public:
    Pool() {
        apr_initialize();
        apr_pool_create(&pool_, nullptr);
    }
    ~Pool() {
        apr_pool_destroy(pool_);
        apr_terminate();
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    operator apr_pool_t*() const { return pool_; }

private:
    apr_pool_t* pool_ = nullptr;
};
