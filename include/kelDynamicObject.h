#pragma once

#include <string>

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelDynamicObjectRecord;

// <windows.h> has a macro of this name. It must not rename the member, whether that header comes
// before this one or after it; see the two forwarding members below.
#pragma push_macro("LoadLibrary")
#undef LoadLibrary

/// A module (a shared library) that is loaded while the program runs: load it, find its symbols,
/// unload it.
///
/// | State    | `GetLibraryName` | `FindSymbol`       | entered by                               |
/// |----------|------------------|--------------------|------------------------------------------|
/// | empty    | empty            | `kelStatusFailed`  | construction                             |
/// | loaded   | the module       | searches in it     | a load that succeeded                    |
/// | failed   | empty            | `kelStatusFailed`  | a load that failed                       |
/// | unloaded | the module       | `kelStatusFailed`  | `UnloadLibrary` of a loaded one          |
///
/// A load is allowed in every state. It does not unload the module that the object held before:
/// that one stays in memory, and its symbols usable, until the object is destroyed; the object from
/// then on speaks of the new load alone.
///
/// The destructor unloads everything that the object still holds. The system counts loads: a module
/// leaves memory when everybody who loaded it has unloaded it, and some never do. Symbols must not
/// be used after that.
///
/// Failure: no operation throws but for `std::bad_alloc` and `std::length_error`, before anything
/// has happened; output arguments change only on success.
///
/// Threads: one object is used by one thread at a time; different objects are independent. Code of
/// the module may run in the thread that loads or unloads it.
///
/// @code
/// kelDynamicObject module;
/// long long (*answer)() = nullptr;
/// if (module.kelLoadLibraryEx("plugins", "answer") != kelStatusOk) {
///     std::fprintf(stderr, "%s\n", module.GetError().c_str());
/// } else if (module.FindSymbol(&answer, "Answer") == kelStatusOk) {
///     std::printf("%lld\n", answer());  // prints: 42
/// }
/// @endcode
class KEL_API kelDynamicObject {
public:
    /// Makes an empty object. Throws `std::bad_alloc` without memory.
    kelDynamicObject();
    /// The same. The pointer is not read and may be null.
    explicit kelDynamicObject(kelLibrary* library);
    /// Unloads what the object, alone, still holds.
    ~kelDynamicObject();
    kelDynamicObject(const kelDynamicObject&) = delete;
    /// Shares all that `other` holds: what is loaded or unloaded through one object is so for both,
    /// and the last one unloads. What this object held alone is unloaded.
    kelDynamicObject& operator=(const kelDynamicObject& other);

    /// Loads the file `name`, as it stands: no directory, prefix or suffix is added. All symbols
    /// that the module needs are bound at once. Linux: its own serve modules loaded later, and take
    /// the place of symbols of the same name in them: give a module hidden visibility but for its
    /// entry points.
    ///
    /// Linux: a name without `/` is looked for where the system keeps its libraries, not in the
    /// current directory. Windows: a name without `/`, `\` and `:` is looked for beside the program
    /// and where the system keeps its own, another one stands for that file alone; what the module
    /// was linked with is looked for there and beside the module. The empty name fails: it never
    /// gives the program itself.
    ///
    /// @returns `kelStatusOk`, or `kelStatusFailed` with the reason in `GetError`.
    int LoadLibrary(const zuString& name);

    /// Loads the first of `directory/name.dll` and `directory/libname.dll` that can be loaded,
    /// where `.dll` stands for `kelLibrary::GetSharedLibSuffix`. `GetLibraryName` tells which.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` when neither can be loaded (`GetError` tells of
    /// the second), and when an argument is empty: nothing has changed then.
    int kelLoadLibraryEx(const std::string& directory, const std::string& name);

    /// Finds the address of the symbol `name`, a function or a variable, in the module of the last
    /// load. Linux: the libraries that the module itself was linked with are searched after it.
    ///
    /// @param symbol receives the address, to be cast to the symbol's true type. It is good until
    /// the module is unloaded.
    /// @returns `kelStatusFailed` when there is no such symbol and when no module is held; the rest
    /// of the process is never searched.
    int FindSymbol(long long (**symbol)(), const zuString& name);

    /// Unloads the module of the last load. The name stays.
    ///
    /// @returns `kelStatusOk`, also when none is held; `kelStatusFailed` when the system reports a
    /// failure. The object holds no module afterwards either way.
    int UnloadLibrary();

    /// The system's text on the last attempt to load, at most 4095 bytes: why it failed, or that
    /// there was no error. Empty before the first. Nothing but a load changes it.
    zuString GetError();

    /// The file name of the last load that succeeded; empty before the first load and after a load
    /// that failed.
    zuString GetLibraryName() const;

    /// @name Under the names that windows.h makes of a call to LoadLibrary
    /// @{

    /// The same as `LoadLibrary`.
    int LoadLibraryA(const zuString& name) { return LoadLibrary(name); }
    int LoadLibraryW(const zuString& name) { return LoadLibrary(name); }
    /// @}

private:
    kelDynamicObjectRecord* record_;
};

#pragma pop_macro("LoadLibrary")
