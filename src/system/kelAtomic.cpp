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
    return record_->value.fetch_add(1);
}

int kelAtomic::Decrement() {
    return static_cast<int>(record_->value.fetch_sub(1) - 1);
}
