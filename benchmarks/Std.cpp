// The jobs by the standard libraries of C++ and C.

#include <atomic>
#include <chrono>
#include <ctime>

#include "Filesystem.h"

namespace {

namespace fs = std::filesystem;

/// A file of the C library; for lines to the system byte by byte without a buffer.
template <bool kBuffered>
struct CFile : Unshared {
    explicit CFile(const std::string& name, const char* mode = "re")
        : file(std::fopen(name.c_str(), mode)) {
        MUST(file != nullptr);
        if (!kBuffered) {
            std::setvbuf(file, nullptr, _IONBF, 0);
        }
    }
    ~CFile() { std::fclose(file); }
    auto Read(char* to, std::size_t size) { return std::fread(to, 1, size, file); }
    void Write(const char* from, std::size_t size) { MUST(std::fwrite(from, 1, size, file) > 0); }
    bool Line(char* to, int size) { return std::fgets(to, size, file) != nullptr; }
    std::FILE* file;
};
struct CWriter : CFile<true> {
    explicit CWriter(const std::string& name) : CFile(name, "we") {}
};

const Jobs kJobs =
    AddFilesystem<fs::path, fs::directory_iterator>(Jobs("std.fstream"),
                                                    fs::copy_options::overwrite_existing)
        .Streams<StreamFile<std::ifstream>, StreamFile<std::ofstream>>()
        .Repeat("MonotonicTime",
                [] { return std::chrono::steady_clock::now().time_since_epoch().count() / 1000; })
        .With(
            "FourNameParts", [] { return fs::path(kKnownFile); },
            [](const fs::path& path) {
                ThreeParts(path);
                benchmark::DoNotOptimize(path.extension().string());
            })
        .Repeat("ReadVariable", [] { return std::string(std::getenv("PATH")); })
        .With(
            "Format",
            [] {
                const std::time_t now = std::time(nullptr);
                return *std::gmtime(&now);
            },
            [](const std::tm& time) {
                char buffer[256];
                return std::string(buffer, std::strftime(buffer, sizeof buffer, kPattern, &time));
            })
        .Counter<std::atomic<unsigned>>([](auto& counter) { return counter.fetch_add(1); })
        .Repeat("IdleObject", [] { benchmark::DoNotOptimize(std::fstream().is_open()); })
        .Idle<std::atomic<unsigned>>("kelAtomic")
        .Idle<fs::directory_iterator>("kelDirectory")
        .Idle<std::fstream>("kelFile")
        .Idle<fs::directory_entry>("kelFileInfo", kKnownFile)
        .Idle<std::tm>("kelTime")
        .Growth(
            "openings", [] { return std::ifstream(); },
            [](std::ifstream& file) {
                file.open(kKnownFile);
                MUST(file.get() > 0);
                file.close();
            });

const Jobs kStdio = Jobs("std.stdio")
                        .Streams<CFile<true>, CWriter, CFile<false>>()
                        .ReadUnbufferedLines<CFile<false>>();

}  // namespace
