#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

// What the sources of several libraries use.

inline const char* const kLongPath =
    "/srv/./www/site/../data/archive/2024/./11/../12/report.final.txt";
inline const char* const kKnownFile = "/etc/passwd";
inline const char* const kFrom = "/usr/lib/gcc";
inline const char* const kTo = "/usr/share/doc";
inline const char* const kPattern = "%Y-%m-%d %H:%M:%S";
inline const std::string kText = "created, written and closed\n";

#define MUST(condition) Must(condition, #condition)
inline void Must(bool condition, const char* text) {
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", text);
        std::abort();
    }
}

/// Uses a segment as its creator does: a byte in each page.
inline void Touch(void* address, std::size_t size) {
    for (std::size_t at = 0; at < size; at += 4096) {
        static_cast<char*>(address)[at] = 1;
    }
}

/// A line of a file whose `Read` goes straight to the system: byte by byte, as nothing may be read
/// that belongs to the next one.
template <typename File>
bool LineByBytes(File& file, char* line, std::size_t size) {
    std::size_t length = 0;
    while (length + 1 < size && file.Read(line + length, 1) == 1 && line[length++] != '\n') {
    }
    line[length] = '\0';
    return length > 0;
}

/// A file as a stream of the C++ library.
template <typename Stream>
struct StreamFile {
    explicit StreamFile(const std::string& name) : stream(name) { MUST(stream.good()); }
    std::size_t Read(char* to, std::size_t size) {
        stream.read(to, static_cast<std::streamsize>(size));
        return static_cast<std::size_t>(stream.gcount());
    }
    void Write(const char* from, std::size_t size) {
        stream.write(from, static_cast<std::streamsize>(size));
    }
    bool Line(char* to, std::size_t size) {
        return static_cast<bool>(stream.getline(to, static_cast<std::streamsize>(size)));
    }
    Stream stream;
};
