#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace zukel {

/// Base of the private records: a count of the objects that share the record. Assignment shares;
/// the last owner deletes.
///
/// The count is atomic because two objects that came to share a record by assignment may live in
/// two threads; what the record holds is still used by one thread at a time.
struct SharedRecord {
    std::atomic<std::size_t> owners{1};
};

/// Removes an owner from the record. The last one deletes it.
template <typename Record>
void Release(Record* record) noexcept {
    if (record->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete record;
    }
}

/// Adds an owner to the record and returns it.
template <typename Record>
Record* Share(Record* record) noexcept {
    record->owners.fetch_add(1, std::memory_order_relaxed);
    return record;
}

/// Makes `held` share `source` and releases what it held before. Nothing happens when both are the
/// same record already.
template <typename Record>
void Assign(Record*& held, Record* source) noexcept {
    if (held != source) {
        Release(std::exchange(held, Share(source)));
    }
}

}  // namespace zukel
