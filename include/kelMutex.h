#pragma once

#include "kelExport.h"
#include "kelStatus.h"

class kelLibrary;

/// The interface of a lock, to derive from. The class itself locks nothing: every operation fails,
/// at all times and without effect, and a caller that goes on has no mutual exclusion.
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
    /// There is nothing to take over: the base holds no state.
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
