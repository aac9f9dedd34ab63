#pragma once

#include <cstddef>

// What pluginhost asks of a plug-in: a module that exports these two functions.
extern "C" {

/// One line about the plug-in, in static text.
using PluginDescribe = const char*();

/// Makes another text of `text` and writes it with its NUL to `buffer`, which has room for `size`
/// bytes. Returns the size that it needs with its NUL; nothing is written when that is more.
using PluginTransform = std::size_t(const char* text, char* buffer, std::size_t size);

}  // extern "C"

#if defined(_WIN32)
#define PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif
