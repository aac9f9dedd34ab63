#pragma once

#include "kelExport.h"

class kelLibrary;

/// The interface of a thread, to derive from. Nothing in the library starts a thread or calls
/// `ThreadBody`: the deriving application does both.
class KEL_API kelThread {
public:
    kelThread();
    /// The same. The pointer is not read and may be null.
    explicit kelThread(kelLibrary* library);
    kelThread(const kelThread& other) = delete;
    virtual ~kelThread();
    kelThread& operator=(const kelThread& other);

    /// What the thread is to do.
    virtual void ThreadBody() = 0;

private:
    void* handle_ = nullptr;
};
