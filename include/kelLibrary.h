#pragma once

#include "kelExport.h"
#include "zuString.h"

struct kelLibraryRecord;

/// A use of the library that lasts: while a `kelLibrary` is alive, the runtime below the library
/// stays started.
///
/// No set-up call is needed. Every object and every static operation of the library starts the
/// runtime when nobody else has, and the last one to end stops it again. That makes a static call
/// in an otherwise idle program pay for a start and a stop (about 20 times the price of the call
/// alone), so an application that makes many static calls keeps one `kelLibrary` alive:
///
/// @code
/// int main() {
///     kelLibrary library;
///     return kelFile::Exists("settings.ini") ? 0 : 1;
/// }
/// @endcode
///
/// Many operations have an overload with a leading `kelLibrary` pointer. The pointer is never read:
/// it may be null, and the overload does what the one without it does.
///
/// Threads: one object is used by one thread at a time; different objects are independent, and
/// objects may be made and destroyed in any number of threads at once.
class KEL_API kelLibrary {
public:
    /// Starts the runtime or counts one more user of it. Throws `std::bad_alloc` when there is no
    /// memory for the object; a runtime that cannot start is not reported here: the operations of
    /// the object then give their failure values.
    kelLibrary();
    /// Makes an object of its own that takes nothing from `other`.
    kelLibrary(const kelLibrary& other);
    /// Counts one user less; the last user stops the runtime.
    ~kelLibrary();
    /// Shares what `other` holds; what this object held alone is released. The shared part lives as
    /// long as either object.
    kelLibrary& operator=(const kelLibrary& other);

    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Initialize();
    /// Does nothing and returns `kelStatusOk`, however often and whenever it is called.
    int Terminate();

private:
    kelLibraryRecord* record_;
};
