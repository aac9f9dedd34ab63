// Whatever bytes the fuzzer makes up, given to the checks of the pure work on names.

#include <cstdio>
#include <cstdlib>

#include "support/NameOracles.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const auto disagreement =
        zukel::test::CheckNames(std::string(reinterpret_cast<const char*>(data), size));
    if (!disagreement.empty()) {
        std::fprintf(stderr, "%s\n", disagreement.c_str());
        std::abort();
    }
    return 0;
}
