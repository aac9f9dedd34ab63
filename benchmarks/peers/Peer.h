#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Work.h"

// The parts of the jobs that are the same for each library that stands beside this one. What works
// on what is told in the other sources of this program.

inline const char* const kLongPath =
    "/srv/./www/site/../data/archive/2024/./11/../12/report.final.txt";
inline const char* const kKnownFile = "/etc/passwd";
inline const char* const kFrom = "/usr/lib/gcc";
inline const char* const kTo = "/usr/share/doc";

inline void Must(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// Memory of the caller that the start of a program may have to pay for, all of it touched.
inline std::vector<char> Touched(const benchmark::State& state) {
    return std::vector<char>(static_cast<std::size_t>(state.range(0)) << 20U, 'x');
}

/// Uses a segment as its creator does: a byte in each page.
inline void Touch(void* address, std::size_t size) {
    for (std::size_t at = 0; at < size; at += 4096) {
        static_cast<char*>(address)[at] = 1;
    }
}

template <typename Make, typename Remove>
void MakeAndRemove(benchmark::State& state, Make make, Remove remove) {
    const std::string path = Work::Get().Path() + "/made";
    for (auto _ : state) {
        Must(make(path));
        Must(remove(path));
    }
}

template <typename Make, typename Remove>
void MakeFiveLevels(benchmark::State& state, Make make, Remove remove) {
    std::vector<std::string> levels = {Work::Get().Path() + "/made"};
    for (const char* name : {"/a", "/b", "/c", "/d"}) {
        levels.push_back(levels.back() + name);
    }
    for (auto _ : state) {
        Must(make(levels.back()));
        for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
            Must(remove(*level));
        }
    }
}

/// Copies over a target that exists, as it does from the second round on.
template <typename Call>
void RepeatCopy(benchmark::State& state, const std::string& (Work::*source)(), Call copy) {
    const std::string from = (Work::Get().*source)();
    const std::string to = Work::Get().Target();
    for (auto _ : state) {
        Must(copy(from, to));
    }
    std::filesystem::remove(to);
}

template <typename Call>
void ThereAndBack(benchmark::State& state, Call rename) {
    const std::string one = Work::Get().FourThousand();
    const std::string other = Work::Get().Target();
    for (auto _ : state) {
        Must(rename(one, other));
        Must(rename(other, one));
    }
}

template <typename Call>
void Ask(benchmark::State& state, bool present, Call exists) {
    const std::string name = present ? Work::Get().FourThousand() : Work::Get().Missing();
    for (auto _ : state) {
        Must(exists(name) == present);
    }
}
