#pragma once

#include "kelExport.h"

class kelLibrary;

/// Base class for a thread. Nothing in the library starts a thread or calls `ThreadBody`: the
/// deriving application does both.
///
/// @code
/// class Greeting : public kelThread {
/// public:
///     void ThreadBody() override { std::puts("hello from a thread"); }
/// };
/// Greeting greeting;
/// std::thread thread(&Greeting::ThreadBody, &greeting);  // prints: hello from a thread
/// thread.join();
/// @endcode
class KEL_API kelThread {
public:
    /// Allocates nothing.
    kelThread();
    /// The same. The pointer is not read and may be null.
    explicit kelThread(kelLibrary* library);
    kelThread(const kelThread& other) = delete;
    virtual ~kelThread();
    /// Does nothing: the base has no state.
    kelThread& operator=(const kelThread& other);

    /// The work of the thread.
    virtual void ThreadBody() = 0;

private:
    void* handle_ = nullptr;
};
