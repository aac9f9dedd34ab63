// Loads a plug-in by its bare name and calls a function of it.
//
//     load DIRECTORY NAME

#include <kelDynamicObject.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: load DIRECTORY NAME\n");
        return 2;
    }
    kelDynamicObject module;
    if (module.kelLoadLibraryEx(arguments[1], arguments[2]) != kelStatusOk) {
        std::printf("%s\n", module.GetError().c_str());
        return 1;
    }
    long long (*symbol)() = nullptr;
    if (module.FindSymbol(&symbol, "Greeting") != kelStatusOk) {
        std::printf("%s has no greeting\n", module.GetLibraryName().c_str());
        return 1;
    }
    // Through void (*)(): compilers warn about a direct cast between other function types.
    const auto greeting =
        reinterpret_cast<const char* (*)(int)>(reinterpret_cast<void (*)()>(symbol));
    std::printf("%s: %s\n", module.GetLibraryName().c_str(), greeting(3));
    return 0;  // the destructor unloads the module: nothing of it may be used afterwards
}
