// What the sanitizers are told to pass over: faults, real or seeming, of the C library
// (glibc 2.36).

/// newlocale never frees its list of places while LOCPATH is set. (The function has two more
/// leading underscores where debug symbols are installed.)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep\n";
}

/// Locales are loaded and unloaded under a lock inside the C library, which the sanitizer cannot
/// see.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:_nl_unload_locale\nrace:__freelocale\n";
}
