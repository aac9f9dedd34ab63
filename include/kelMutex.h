#pragma once

#include "kelExport.h"

class kelLibrary;

/// The interface of a lock, to derive from. The class itself locks nothing: every operation fails,
/// at all times and without effect, and a caller that goes on has no mutual exclusion.
class KEL_API kelMutex {
public:
    kelMutex();
    /// The same. The pointer is not read and may be null.
    explicit kelMutex(kelLibrary* library);
    kelMutex(const kelMutex& other) = delete;
    virtual ~kelMutex();
    kelMutex& operator=(const kelMutex& other);

    /// Always `kelStatusFailed`.
    virtual int Lock();
    /// Always `kelStatusFailed`.
    virtual int Trylock();
    /// Always `kelStatusFailed`.
    virtual int Unlock();

private:
    void* handle_ = nullptr;
};
