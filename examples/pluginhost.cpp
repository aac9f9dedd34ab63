// Loads a plug-in while it runs, and has it transform texts.
//
//     pluginhost DIRECTORY NAME [TEXT...]
//
// The plug-in is looked for as DIRECTORY/NAME and DIRECTORY/libNAME, with the suffix of the
// platform. Without a text it is only described. Exit code: 0 when all went well, 1 when there is
// no such plug-in, 2 for a wrong call.

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
    // By way of the function type that stands for any other.
    function = reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(symbol));
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        std::fprintf(stderr, "usage: pluginhost DIRECTORY NAME [TEXT...]\n");
        return 2;
    }
    kelDynamicObject module;  // the functions are good as long as it lives
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
