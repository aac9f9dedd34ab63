// A module for the tests of loading. Built several times, each with an answer of its own.
// Protected, because the symbols of a module loaded before would take the place of equal ones
// otherwise.
extern "C" __attribute__((visibility("protected"))) long long Answer() {
    return ANSWER;
}
