#pragma once

#include <apr_general.h>
#include <apr_pools.h>

/// A pool of the bare runtime, and the runtime started, as each call of the library has them.
class RuntimePool {
public:
    RuntimePool() {
        apr_initialize();
        apr_pool_create(&pool_, nullptr);
    }
    ~RuntimePool() {
        apr_pool_destroy(pool_);
        apr_terminate();
    }
    RuntimePool(const RuntimePool&) = delete;
    RuntimePool& operator=(const RuntimePool&) = delete;
    apr_pool_t* Get() const { return pool_; }

private:
    apr_pool_t* pool_ = nullptr;
};
