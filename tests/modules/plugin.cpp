// A module for the tests of loading. Built several times, each with an answer of its own.
extern "C" long long Answer() {
    return ANSWER;
}
