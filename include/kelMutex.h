#pragma once

#include "kelExport.h"
#include "kelStatus.h"

class kelLibrary;

/// Base class for a mutex. It locks nothing itself: every operation always fails, and a caller that
/// ignores this has no mutual exclusion.
///
/// @code
/// class Mutex : public kelMutex {
/// public:
///     int Lock() override {
///         mutex_.lock();
///         return kelStatusOk;
///     }
///     int Trylock() override { return mutex_.try_lock() ? kelStatusOk : kelStatusFailed; }
///     int Unlock() override {
///         mutex_.unlock();
///         return kelStatusOk;
///     }
///
/// private:
///     std::mutex mutex_;
/// };
/// Mutex mutex;
/// if (mutex.Lock() == kelStatusOk) {
///     std::puts("locked");  // prints: locked
///     mutex.Unlock();
/// }
/// @endcode
class KEL_API kelMutex {
public:
    /// Allocates nothing.
    kelMutex();
    /// The same. The pointer is not read and may be null.
    explicit kelMutex(kelLibrary* library);
    kelMutex(const kelMutex& other) = delete;
    virtual ~kelMutex();
    /// Does nothing: the base has no state.
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
