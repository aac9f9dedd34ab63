// The module that the benchmarks load.

extern "C" __attribute__((visibility("default"))) long long Answer() {
    return 42;
}
