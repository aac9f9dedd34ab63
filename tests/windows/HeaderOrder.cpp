// Compiled once for each place of <windows.h> among the library's headers, which the build includes
// ahead of this, with and without UNICODE: the operations whose names it has macros of must link
// and work under what the macros make of them.

#include <zukel.h>

// The macros are the system's again. None of them may have been lost.
#if defined(_WINDOWS_) &&                                                   \
    !(defined(GetCurrentDirectory) && defined(SetCurrentDirectory) &&       \
      defined(GetEnvironmentVariable) && defined(SetEnvironmentVariable) && \
      defined(LoadLibrary) && defined(GetCurrentTime) && defined(CreateSymbolicLink))
#error "a macro of <windows.h> is lost"
#endif

int main() {
    kelLibrary library;
    zuString here = kelDirectory::GetCurrentDirectory();
    return library.SetEnvironmentVariable("ZUKEL_ORDER", here) +
           library.GetEnvironmentVariable(here, "ZUKEL_ORDER") +
           kelDirectory::SetCurrentDirectory(here) +
           (kelFile::CreateSymbolicLink("", here) != kelStatusEmptyTarget) +
           !kelDynamicObject().LoadLibrary("") + !kelTime::GetCurrentTime().GetSeconds();
}
