#pragma once

#include "kelExport.h"

struct kelAtomicRecord;

/// A counter of 32 bits that any number of threads may change at once. It starts at 0, wraps both
/// ways, and can only be counted up and down.
///
/// @code
/// kelAtomic users;
/// users.Increment();
/// if (users.Decrement() == 0) {
///     std::puts("the last one is gone");  // prints: the last one is gone
/// }
/// @endcode
///
/// Threads: `Increment` and `Decrement` are atomic, and what one thread wrote before its call the
/// thread that counts after it sees. Assignment and destruction are not.
class KEL_API kelAtomic {
public:
    /// Makes a counter at 0. Throws `std::bad_alloc` without memory.
    kelAtomic();
    kelAtomic(const kelAtomic& other) = delete;
    /// Gives the counter up, unless another object counts on it.
    ~kelAtomic();
    /// Counts on the counter of `other` from now on; it lives as long as either object.
    kelAtomic& operator=(const kelAtomic& other);

    /// Adds one and returns the value before. 4294967295 goes to 0.
    unsigned int Increment();
    /// Takes one off and returns the value after; 0 when it has come to zero, -1 from 0. A count of
    /// 2^31 and more comes out negative.
    int Decrement();

private:
    kelAtomicRecord* record_;
};
