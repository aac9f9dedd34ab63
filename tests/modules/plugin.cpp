// A module for the tests of loading. Built several times, each with an answer of its own.
// Protected, because the symbols of a module loaded before would take the place of equal ones
// otherwise.
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED __attribute__((visibility("protected")))
#endif
extern "C" EXPORTED long long Answer() {
    return ANSWER;
}
