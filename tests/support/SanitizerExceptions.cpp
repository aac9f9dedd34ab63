// What the sanitizers are told to pass over: faults, real or seeming, of the C library
// (glibc 2.36).

/// newlocale never frees its list of places while LOCPATH is set. (The function has two more
/// leading underscores where debug symbols are installed.)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep\n";
}

/// Locales are loaded and unloaded under a lock inside the C library, which the sanitizer cannot
/// see. Without debug symbols the functions that do it have no names, so what the C library itself
/// allocates and frees is passed over; what the code under test does is not.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libc.so.6\n";
}
