#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

// What the sources of several libraries use.

inline const char* const kLongPath =
    "/srv/./www/site/../data/archive/2024/./11/../12/report.final.txt";
inline const char* const kKnownFile = "/etc/passwd";
inline const char* const kFrom = "/usr/lib/gcc";
inline const char* const kTo = "/usr/share/doc";
inline const char* const kPattern = "%Y-%m-%d %H:%M:%S";

#define MUST(condition) Must(condition, #condition)
inline void Must(bool condition, const char* text) {
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", text);
        std::abort();
    }
}

/// Makes a call that returns nothing, whether it has succeeded, or a status, which is then 0.
template <typename Call, typename... Arguments>
void MustDo(const Call& call, const Arguments&... arguments) {
    using Result = decltype(call(arguments...));
    if constexpr (std::is_void_v<Result>) {
        call(arguments...);
    } else if constexpr (std::is_same_v<Result, bool>) {
        MUST(call(arguments...));
    } else {
        MUST(call(arguments...) == 0);
    }
}

/// Uses a segment as its creator does: a byte in each page.
inline void Touch(void* address, std::size_t size) {
    for (std::size_t at = 0; at < size; at += 4096) {
        static_cast<char*>(address)[at] = 1;
    }
}

/// Calls what the module of the benchmarks exports.
template <typename Symbol>
void CallAnswer(Symbol answer) {
    MUST(answer != nullptr);
    MUST(reinterpret_cast<long long (*)()>(answer)() == 42);
}

struct Unshared {
    Unshared() = default;
    Unshared(const Unshared&) = delete;
    Unshared& operator=(const Unshared&) = delete;
};

/// A file whose `Read` goes straight to the system. It reads a line byte by byte, as nothing may be
/// read that belongs to the next one.
template <typename File>
struct Unbuffered : Unshared {
    bool Line(char* line, std::size_t size) {
        std::size_t length = 0;
        while (length + 1 < size && static_cast<File*>(this)->Read(line + length, 1) == 1 &&
               line[length++] != '\n') {
        }
        line[length] = '\0';
        return length > 0;
    }
};

/// A file as a stream of the C++ library.
template <typename Stream>
struct StreamFile {
    explicit StreamFile(const std::string& name) : stream(name) { MUST(stream.good()); }
    auto Read(char* to, std::streamsize size) { return stream.read(to, size).gcount(); }
    void Write(const char* from, std::streamsize size) { stream.write(from, size); }
    bool Line(char* to, std::streamsize size) { return !!stream.getline(to, size); }
    Stream stream;
};
