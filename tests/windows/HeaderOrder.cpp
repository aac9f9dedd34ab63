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

#include <cstdio>

#define CHECK(condition)                        \
    if (!(condition)) {                         \
        std::puts(#condition " does not hold"); \
        return 1;                               \
    }

int main() {
    kelLibrary library;
    zuString value;
    CHECK(library.SetEnvironmentVariable("ZUKEL_ORDER", "set") == kelStatusOk);
    CHECK(library.GetEnvironmentVariable(value, "ZUKEL_ORDER") == kelStatusOk && value == "set");

    const zuString here = kelDirectory::GetCurrentDirectory();
    CHECK(!here.empty() && here == kelDirectory::GetCurrentDirectory(&library));
    CHECK(kelDirectory::SetCurrentDirectory(here) == kelStatusOk);
    CHECK(kelDirectory::SetCurrentDirectory(&library, "") == kelStatusEmptyPath);

    CHECK(kelDynamicObject().LoadLibrary("") == kelStatusFailed);
    CHECK(kelTime::GetCurrentTime().GetSeconds() > 0);

    // The macros are the system's again. None of them may have been lost.
#if ORDER != 0 && !(defined(GetCurrentDirectory) && defined(SetCurrentDirectory) &&       \
                    defined(GetEnvironmentVariable) && defined(SetEnvironmentVariable) && \
                    defined(LoadLibrary) && defined(GetCurrentTime))
#error "a macro of <windows.h> is lost"
#endif
}
