#pragma once

#include <cstddef>

// The interface of pluginhost's plug-ins: modules that export these two functions.
extern "C" {

/// Returns a description of one line, a static string.
using PluginDescribe = const char*();

/// Transforms `text` and writes the result with its NUL to `buffer`, which has room for `size`
/// bytes. Returns the size of the result with its NUL; if that is more than `size`, nothing is
/// written.
using PluginTransform = std::size_t(const char* text, char* buffer, std::size_t size);

}  // extern "C"

#if defined(_WIN32)
#define PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif
