#pragma once

#include <benchmark/benchmark.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>
#include <vector>

#include "Common.h"
#include "Memory.h"

// What goes on in a job, for any library.

constexpr int kMillion = 1000000;
constexpr int kTenThousand = 10000;

template <typename Call>
void Once(const Call& call) {
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
    } else if constexpr (std::is_same_v<decltype(call()), bool>) {
        MUST(call());
    } else {
        benchmark::DoNotOptimize(call());
    }
}

/// Has values made that nobody needs.
template <typename... Values>
void Use(Values&&... values) {
    (benchmark::DoNotOptimize(values), ...);
}

/// Once before the clock runs, so that what it works on exists.
template <typename Call>
void Loop(benchmark::State& state, const Call& call) {
    Once(call);
    for (auto _ : state) {
        Once(call);
    }
}

/// A call that makes a file, which must be a new one each time: to cut an old one would wait for
/// what the disk still has to write of it.
template <typename Call>
void LoopAnew(benchmark::State& state, const std::string& file, const Call& call) {
    call();
    std::filesystem::remove(file);
    for (auto _ : state) {
        call();
        state.PauseTiming();
        std::filesystem::remove(file);
        state.ResumeTiming();
    }
}

/// A size in whatever type a library counts bytes.
struct Size {
    std::size_t bytes;
    template <typename T>
    operator T() const {
        return static_cast<T>(bytes);
    }
};

template <typename File>
void ReadAll(const std::string& name, std::size_t size) {
    std::vector<char> block(size);
    File file(name);
    while (static_cast<std::size_t>(file.Read(block.data(), Size{size})) == size) {
    }
}

template <typename File>
void WriteAll(const std::string& name, const std::string& block) {
    File file(name);
    for (std::size_t left = std::size_t{16} << 20U; left >= block.size(); left -= block.size()) {
        file.Write(block.data(), Size{block.size()});
    }
}

/// Whether a file class has operations for values, `ReadValue` and `WriteValue`, besides `Read` and
/// `Write` of bytes.
template <typename File, typename = void>
constexpr bool kTyped = false;
template <typename File>
constexpr bool kTyped<File, std::void_t<decltype(&File::ReadValue)>> = true;

template <typename File>
void ReadValues(const std::string& name) {
    File file(name);
    int value = 0;
    for (int count = 0; count < kMillion; ++count) {
        if constexpr (kTyped<File>) {
            file.ReadValue(value);
        } else {
            file.Read(reinterpret_cast<char*>(&value), sizeof value);
        }
        benchmark::DoNotOptimize(value);
    }
}

template <typename File>
void WriteValues(const std::string& name) {
    File file(name);
    for (int value = 0; value < kMillion; ++value) {
        if constexpr (kTyped<File>) {
            file.WriteValue(value);
        } else {
            file.Write(reinterpret_cast<const char*>(&value), sizeof value);
        }
    }
}

template <typename File>
void ReadLines(const std::string& name) {
    char line[128];
    File file(name);
    int count = 0;
    while (file.Line(line, sizeof line)) {
        ++count;
    }
    MUST(count % 1000 == 0 && count > 0);
}

/// What an object takes that has nothing to do, itself included: of ten thousand of them.
template <typename Object, typename... Arguments>
double IdleBytes(const Arguments&... arguments) {
    const long long before = ReadMemory().inUse;
    std::deque<Object> objects;
    for (int number = 0; number < kTenThousand; ++number) {
        objects.emplace_back(arguments...);
    }
    return static_cast<double>(ReadMemory().inUse - before) / kTenThousand;
}

/// What one object has taken more after `use` has used it ten thousand times.
template <typename Make, typename Use>
double GrowthBytes(Make make, Use use) {
    auto object = make();
    long long before = 0;
    for (int number = -100; number < kTenThousand; ++number) {
        before = number == 0 ? ReadMemory().inUse : before;
        use(object);
    }
    return static_cast<double>(ReadMemory().inUse - before);
}
