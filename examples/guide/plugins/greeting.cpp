// A plug-in for the example `load`. `extern "C"` keeps the name of its function unmangled.

#if defined(_WIN32)
#define PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

PLUGIN_EXPORT const char* Greeting(int hour) {
    return hour < 12 ? "good morning" : "good day";
}
