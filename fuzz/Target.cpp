// One fuzz target: the check that ZUKEL_FUZZ_CHECK names, on whatever bytes the fuzzer makes up.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Oracles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string disagreement = zukel::fuzz::ZUKEL_FUZZ_CHECK(input);
    if (!disagreement.empty()) {
        std::fprintf(stderr, "%s\n", disagreement.c_str());
        std::abort();
    }
    return 0;
}
