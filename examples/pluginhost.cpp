// Loads a plug-in at run time, and calls it to transform texts.
//
//     pluginhost DIRECTORY NAME [TEXT...]
//
// The plug-in is DIRECTORY/NAME or DIRECTORY/libNAME, with the platform's suffix. Without a TEXT
// its description is printed. Exit code: 0 on success, 1 if there is no such plug-in, 2 for wrong
// arguments.

#include <kelDynamicObject.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>
#include <vector>

#include "plugins/plugin.h"

namespace {

template <typename Function>
bool Find(kelDynamicObject& module, const char* name, Function*& function) {
    long long (*symbol)() = nullptr;
    if (module.FindSymbol(&symbol, name) != kelStatusOk) {
        std::fprintf(stderr, "pluginhost: %s is no plug-in: it has no function %s\n",
                     module.GetLibraryName().c_str(), name);
        return false;
    }
    // Through void (*)(): compilers warn about a direct cast between other function types.
    function = reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(symbol));
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        std::fprintf(stderr, "usage: pluginhost DIRECTORY NAME [TEXT...]\n");
        return 2;
    }
    kelDynamicObject module;  // its functions are valid while it exists
    if (module.kelLoadLibraryEx(arguments[1], arguments[2]) != kelStatusOk) {
        std::fprintf(stderr, "pluginhost: no %s%s in %s, with or without lib before it\n",
                     arguments[2], kelLibrary::GetSharedLibSuffix(), arguments[1]);
        if (!module.GetError().empty()) {
            std::fprintf(stderr, "pluginhost: %s\n", module.GetError().c_str());
        }
        return 1;
    }
    PluginDescribe* describe = nullptr;
    PluginTransform* transform = nullptr;
    if (!Find(module, "Describe", describe) || !Find(module, "Transform", transform)) {
        return 1;
    }
    std::printf("%s: %s\n", module.GetLibraryName().c_str(), describe());
    std::vector<char> buffer(256);
    for (int number = 3; number < count; ++number) {
        const std::size_t needed = transform(arguments[number], buffer.data(), buffer.size());
        if (needed > buffer.size()) {
            buffer.resize(needed);
            transform(arguments[number], buffer.data(), buffer.size());
        }
        std::printf("%s\n", buffer.data());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "pluginhost: the output cannot be written\n");
        return 1;
    }
    return 0;
}
