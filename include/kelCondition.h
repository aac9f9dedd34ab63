#pragma once

#include "kelExport.h"

class kelLibrary;

/// The base of a condition that threads wait for, to derive from. It has no operations.
class KEL_API kelCondition {
public:
    kelCondition();
    /// The same. The pointer is not read and may be null.
    explicit kelCondition(kelLibrary* library);
    kelCondition(const kelCondition& other) = delete;
    virtual ~kelCondition();
    kelCondition& operator=(const kelCondition& other);

private:
    void* handle_ = nullptr;
};
