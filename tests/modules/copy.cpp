// A plug-in that contains the library.
#include "kelLibrary.h"

/// Starts and stops APR this many times; returns how many of them failed.
extern "C" int StartAndStop(int times) {
    int failed = 0;
    for (zuString name; times > 0; --times) {
        failed += kelLibrary().GetHostName(name) == kelStatusOk ? 0 : 1;
    }
    return failed;
}
