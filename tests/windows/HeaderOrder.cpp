// Compiled once for each place of <windows.h> among the library's headers, with and without
// UNICODE: the operations whose names it has macros of must link and work under what the macros
// make of them.

#if ORDER == 1
#include <windows.h>
#endif
#include <kelDirectory.h>
#include <kelTime.h>
#if ORDER == 2
#include <windows.h>
#endif
#include <zukel.h>
#if ORDER == 3
#include <windows.h>
#endif

// The macros are the system's again. None of them may have been lost.
#if ORDER != 0 && !(defined(GetCurrentDirectory) && defined(SetCurrentDirectory) &&       \
                    defined(GetEnvironmentVariable) && defined(SetEnvironmentVariable) && \
                    defined(LoadLibrary) && defined(GetCurrentTime))
#error "a macro of <windows.h> is lost"
#endif

int main() {
    kelLibrary library;
    zuString value;
    const zuString here = kelDirectory::GetCurrentDirectory();
    return library.SetEnvironmentVariable("ZUKEL_ORDER", here) +
           library.GetEnvironmentVariable(value, "ZUKEL_ORDER") +
           kelDirectory::SetCurrentDirectory(value) +
           kelDirectory::SetCurrentDirectory(&library,
                                             kelDirectory::GetCurrentDirectory(&library)) +
           (kelDynamicObject().LoadLibrary("") == kelStatusOk) +
           (kelTime::GetCurrentTime().GetSeconds() <= 0);
}
