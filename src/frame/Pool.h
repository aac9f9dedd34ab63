#pragma once

#include <apr_pools.h>

#include "frame/AprUse.h"

namespace zukel {

/// A root pool of APR, together with the use of APR that keeps it valid.
///
/// In a record it is the last member: made after the other fields are set, and destroyed before
/// them. What the record holds open in the pool is closed before that, in the body of the record's
/// destructor.
class Pool {
public:
    Pool() noexcept {
        if (!apr_.IsStarted() || apr_pool_create(&pool_, nullptr) != APR_SUCCESS) {
            pool_ = nullptr;
        }
    }
    ~Pool() {
        if (pool_ != nullptr) {
            apr_pool_destroy(pool_);
        }
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    /// APR's pool, or null when APR could not be started or had no memory for it. An operation that
    /// needs the pool then returns its failure value.
    apr_pool_t* Get() const noexcept { return pool_; }
    explicit operator bool() const noexcept { return pool_ != nullptr; }

private:
    AprUse apr_;
    apr_pool_t* pool_ = nullptr;
};

}  // namespace zukel
