// A plug-in for the example `load`. Its function has a name that no compiler changes.

#if defined(_WIN32)
#define PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

PLUGIN_EXPORT const char* Greeting(int hour) {
    return hour < 12 ? "good morning" : "good day";
}
