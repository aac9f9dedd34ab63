#pragma once

#include <cstddef>

#include "kelExport.h"

class kelLibrary;

/// The interface of a meeting point of threads, to derive from. The class itself makes nobody wait.
class KEL_API kelBarrier {
public:
    /// The count is not read.
    explicit kelBarrier(std::size_t count = 0);
    /// The same. The pointer is not read and may be null.
    explicit kelBarrier(kelLibrary* library, std::size_t count = 0);
    kelBarrier(const kelBarrier& other) = delete;
    virtual ~kelBarrier();
    kelBarrier& operator=(const kelBarrier& other);

    /// Returns at once; the count is not read.
    virtual void Block(unsigned long long count);
    /// Returns at once.
    virtual void Reset();

private:
    void* handle_ = nullptr;
};
