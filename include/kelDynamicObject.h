#pragma once

#include <string>

#include "kelExport.h"
#include "kelStatus.h"
#include "zuString.h"

class kelLibrary;
struct kelDynamicObjectRecord;

// <windows.h> defines a macro of this name. It must not rename the member, wherever that header is
// included: for calls that the macro renames there are aliases at the end of the class.
#pragma push_macro("LoadLibrary")
#undef LoadLibrary

/// A module (a shared library) loaded at run time: load it, find its symbols, unload it.
///
/// | State    | `GetLibraryName` | `FindSymbol`       | entered by                               |
/// |----------|------------------|--------------------|------------------------------------------|
/// | empty    | empty            | `kelStatusFailed`  | construction                             |
/// | loaded   | the module       | searches in it     | a load that succeeded                    |
/// | failed   | empty            | `kelStatusFailed`  | a load that failed                       |
/// | unloaded | the module       | `kelStatusFailed`  | `UnloadLibrary` of a loaded one          |
///
/// A load is allowed in every state. It does not unload the module that the object held before,
/// which stays in memory, with its symbols usable, until the object is destroyed. All operations
/// then refer to the new module.
///
/// The destructor unloads everything that the object still holds. The system counts loads: a module
/// leaves memory when everybody who loaded it has unloaded it, and some modules never do. Do not
/// use its symbols after that.
///
/// Failure: no operation throws except `std::bad_alloc` and `std::length_error`, before anything
/// has happened; output arguments change only on success.
///
/// Threads: one thread at a time may use an object; different objects are independent. Code of the
/// module may run in the thread that loads or unloads it.
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
    /// Unloads what only this object still holds.
    ~kelDynamicObject();
    kelDynamicObject(const kelDynamicObject&) = delete;
    /// Shares all that `other` holds: a load or unload through either object holds for both, and
    /// the last one unloads. What only this object held is unloaded.
    kelDynamicObject& operator=(const kelDynamicObject& other);

    /// Loads the file `name`, as it is: no directory, prefix or suffix is added. All symbols that
    /// the module needs are bound at once. Linux: its own symbols are global (RTLD_NOW |
    /// RTLD_GLOBAL): they resolve and override those of the same name in modules loaded later.
    /// Build modules with hidden visibility except for their entry points.
    ///
    /// Linux: a name without `/` is searched for in the system's library directories, not in the
    /// current directory. Windows: a name without `/`, `\` and `:` is searched for beside the
    /// program and in the system's directories; any other name is a path. The libraries that the
    /// module was linked with are searched for there and beside the module. The empty name fails:
    /// it never stands for the program itself.
    ///
    /// @returns `kelStatusOk`, or `kelStatusFailed` with the reason in `GetError`.
    int LoadLibrary(const zuString& name);

    /// Loads the first of `directory/name.dll` and `directory/libname.dll` that can be loaded,
    /// where `.dll` stands for `kelLibrary::GetSharedLibSuffix`. `GetLibraryName` returns which one
    /// it was.
    ///
    /// @returns `kelStatusOk`; `kelStatusFailed` if neither can be loaded (`GetError` is about the
    /// second), or if an argument is empty, with nothing changed.
    int kelLoadLibraryEx(const std::string& directory, const std::string& name);

    /// Finds the address of the symbol `name`, a function or a variable, in the module of the last
    /// load. Linux: the libraries that the module itself was linked with are searched after it.
    ///
    /// @param symbol receives the address, to be cast to the symbol's true type. It is valid until
    /// the module is unloaded.
    /// @returns `kelStatusFailed` if there is no such symbol or no module is held; the rest of the
    /// process is never searched.
    int FindSymbol(long long (**symbol)(), const zuString& name);

    /// Unloads the module of the last load. The name stays.
    ///
    /// @returns `kelStatusOk`, also if none is held; `kelStatusFailed` if the system reports a
    /// failure. The object holds no module afterwards in either case.
    int UnloadLibrary();

    /// The system's text for the last attempt to load, at most 4095 bytes: why it failed, or that
    /// there was no error. Empty before the first. Only a load changes it.
    zuString GetError();

    /// The file name of the last load that succeeded; empty before the first load and after a load
    /// that failed.
    zuString GetLibraryName() const;

    /// @name Aliases for callers that have included <windows.h>
    /// @{

    /// The same as `LoadLibrary`.
    int LoadLibraryA(const zuString& name) { return LoadLibrary(name); }
    int LoadLibraryW(const zuString& name) { return LoadLibrary(name); }
    /// @}

private:
    kelDynamicObjectRecord* record_;
};

#pragma pop_macro("LoadLibrary")
