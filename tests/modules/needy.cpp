// A module that needs a library which the loader cannot find.

extern "C" long long Answer();

extern "C" __attribute__((visibility("default"))) long long Twice() {
    return 2 * Answer();
}
