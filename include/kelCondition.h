#pragma once

#include "kelExport.h"

class kelLibrary;

/// The base of a condition that threads wait for, to derive from. It has no operations: those of
/// the derived class are called by its own type.
///
/// @code
/// class Ready : public kelCondition {
/// public:
///     void Signal() { promise_.set_value(); }
///     void Wait() { promise_.get_future().wait(); }
///
/// private:
///     std::promise<void> promise_;
/// };
/// Ready ready;
/// std::thread other([&] { ready.Signal(); });
/// ready.Wait();
/// other.join();
/// std::puts("ready");  // prints: ready
/// @endcode
class KEL_API kelCondition {
public:
    /// Allocates nothing.
    kelCondition();
    /// The same. The pointer is not read and may be null.
    explicit kelCondition(kelLibrary* library);
    kelCondition(const kelCondition& other) = delete;
    virtual ~kelCondition();
    /// There is nothing to take over: the base holds no state.
    kelCondition& operator=(const kelCondition& other);

private:
    void* handle_ = nullptr;
};
