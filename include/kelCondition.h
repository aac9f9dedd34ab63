#pragma once

#include "kelExport.h"

class kelLibrary;

/// Base class for a condition variable. It has no operations: those of a derived class are called
/// through its own type.
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
    /// Does nothing: the base has no state.
    kelCondition& operator=(const kelCondition& other);

private:
    void* handle_ = nullptr;
};
