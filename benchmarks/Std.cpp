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

const bool kAdded = [] {
    const Jobs jobs("std.fstream");
    AddFilesystem<fs::path, fs::directory_iterator>(jobs, fs::copy_options::overwrite_existing);
    jobs.Streams<StreamFile<std::ifstream>, StreamFile<std::ofstream>>();
    jobs.Repeat("MonotonicTime",
                [] { return std::chrono::steady_clock::now().time_since_epoch().count() / 1000; });
    jobs.With("FourNameParts", Make<fs::path>(kKnownFile), [](const fs::path& path) {
        ThreeParts(path);
        benchmark::DoNotOptimize(path.extension().string());
    });
    jobs.Repeat("ReadVariable", [] { return std::string(std::getenv("PATH")); });
    jobs.With(
        "Format",
        [] {
            const std::time_t now = std::time(nullptr);
            return *std::gmtime(&now);
        },
        [](const std::tm& time) {
            char buffer[256];
            return std::string(buffer, std::strftime(buffer, sizeof buffer, kPattern, &time));
        });
    jobs.Counter<std::atomic<unsigned>>([](auto& counter) { return counter.fetch_add(1); });
    jobs.Repeat("IdleObject", [] { benchmark::DoNotOptimize(std::fstream().is_open()); });
    jobs.Idle<std::atomic<unsigned>>("kelAtomic");
    jobs.Idle<fs::directory_iterator>("kelDirectory");
    jobs.Idle<std::fstream>("kelFile");
    jobs.Idle<fs::directory_entry>("kelFileInfo", kKnownFile);
    jobs.Idle<std::tm>("kelTime");
    jobs.Growth("openings", Make<std::ifstream>(), [](std::ifstream& file) {
        file.open(kKnownFile);
        MUST(file.get() > 0);
        file.close();
    });

    const Jobs stdio("std.stdio");
    stdio.Streams<CFile<true>, CWriter, CFile<false>>();
    stdio.ReadUnbufferedLines<CFile<false>>();
    return true;
}();

}  // namespace
