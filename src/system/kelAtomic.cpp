#include "kelAtomic.h"

#include "system/kelAtomicRecord.h"

kelAtomic::kelAtomic() : record_(new kelAtomicRecord) {}

kelAtomic::~kelAtomic() {
    zukel::Release(record_);
}

kelAtomic& kelAtomic::operator=(const kelAtomic& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

unsigned int kelAtomic::Increment() {
    return apr_atomic_inc32(&record_->value);
}

int kelAtomic::Decrement() {
    // Not by the runtime's decrement, which promises of its result only whether it is zero.
    return static_cast<int>(apr_atomic_add32(&record_->value, ~apr_uint32_t{0}) - 1);
}
