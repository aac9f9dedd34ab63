// Runs one case on the library that the program is linked with, and prints what was observed.
//
//   behaviour_NAME --about        name, version and operations used
//   behaviour_NAME --cases        the cases, a name and a title on each line
//   behaviour_NAME CASE           what happened

#include <cstdio>
#include <cstring>
#include <string>

#include "Cases.h"

int main(int count, char** arguments) {
    const std::string what = count > 1 ? arguments[1] : "--cases";
    const Library library = ThisLibrary();
    if (what == "--about") {
        std::printf("%s\n%s\n%s\n", library.name.c_str(), library.version.c_str(),
                    library.calls.c_str());
        return 0;
    }
    if (what == "--own" && count > 2) {
        return OwnSegment(library, arguments[2]);
    }
    if (what == "--lock" && count > 2) {
        return TryLock(library, arguments[2]);
    }
    for (const Case& one : kCases) {
        if (what == "--cases") {
            std::printf("%s %s\n", one.name, one.title);
        } else if (what == one.name) {
            std::printf("%s\n", one.observe(library).c_str());
            return 0;
        }
    }
    return what == "--cases" ? 0 : 2;
}
