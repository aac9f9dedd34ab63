// A module for the tests of loading. Built several times, each with an answer of its own.
#include <cstdlib>

extern "C" long long Answer() {
    return ANSWER;
}

extern "C" long long Relayed() {
    return std::getenv("") == nullptr ? Answer() : 0;
}
