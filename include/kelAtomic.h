#pragma once

#include "kelExport.h"

struct kelAtomicRecord;

/// A 32-bit counter that any number of threads may change at once. It starts at 0, can only be
/// incremented and decremented, and wraps both ways.
///
/// @code
/// kelAtomic users;
/// users.Increment();
/// if (users.Decrement() == 0) {
///     std::puts("the last one is gone");  // prints: the last one is gone
/// }
/// @endcode
///
/// Threads: `Increment` and `Decrement` are atomic, and each synchronises with every later call on
/// the same counter (acquire-release). Assignment and destruction are not atomic.
class KEL_API kelAtomic {
public:
    /// Makes a counter at 0. Throws `std::bad_alloc` without memory.
    kelAtomic();
    kelAtomic(const kelAtomic& other) = delete;
    /// Releases the counter, unless another object shares it.
    ~kelAtomic();
    /// Shares the counter of `other`, which lives as long as either object.
    kelAtomic& operator=(const kelAtomic& other);

    /// Adds one and returns the value before. 4294967295 wraps to 0.
    unsigned int Increment();
    /// Subtracts one and returns the value after: 0 when the counter has reached zero, -1 from 0. A
    /// count of 2^31 and more is returned as a negative number.
    int Decrement();

private:
    kelAtomicRecord* record_;
};
