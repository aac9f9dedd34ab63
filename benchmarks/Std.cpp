// The jobs by the standard libraries of C++ and C.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "Jobs.h"

namespace {

namespace fs = std::filesystem;

/// A file of the C library; for lines to the system byte by byte without a buffer.
template <bool kBuffered>
struct CFile {
    explicit CFile(const std::string& name, const char* mode = "re")
        : file(std::fopen(name.c_str(), mode)) {
        MUST(file != nullptr);
        if (!kBuffered) {
            std::setvbuf(file, nullptr, _IONBF, 0);
        }
    }
    ~CFile() { std::fclose(file); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    std::size_t Read(char* to, std::size_t size) { return std::fread(to, 1, size, file); }
    void Write(const char* from, std::size_t size) { MUST(std::fwrite(from, 1, size, file) > 0); }
    bool Line(char* to, std::size_t size) {
        return std::fgets(to, static_cast<int>(size), file) != nullptr;
    }
    std::FILE* file;
};
struct CWriter : CFile<true> {
    explicit CWriter(const std::string& name) : CFile(name, "we") {}
};
using Reader = StreamFile<std::ifstream>;
using Writer = StreamFile<std::ofstream>;

bool Remove(const std::string& path) {
    return fs::remove(path);
}
void Facts() {
    const fs::path path(kKnownFile);
    benchmark::DoNotOptimize(fs::file_size(path));
    benchmark::DoNotOptimize(fs::symlink_status(path));
    benchmark::DoNotOptimize(fs::last_write_time(path));
}
void ThreeParts(const fs::path& path) {
    benchmark::DoNotOptimize(path.parent_path().string());
    benchmark::DoNotOptimize(path.filename().string());
    benchmark::DoNotOptimize(path.stem().string());
}
auto List(const std::string& directory) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}
auto Format(const std::tm& time) {
    char buffer[256];
    return std::string(buffer, std::strftime(buffer, sizeof buffer, kPattern, &time));
}

const Jobs kJobs =
    Jobs("std.fstream")
        .OpenClose<Reader>()
        .CreateWriteClose<Writer>()
        .ReadUnbuffered<Reader>()
        .ReadBuffered<Reader>()
        .ReadLines<Reader>()
        .WriteBuffered<Writer>()
        .Copy([](const auto& from, const auto& to) {
            return fs::copy_file(from, to, fs::copy_options::overwrite_existing);
        })
        .Rename([](const auto& from, const auto& to) {
            fs::rename(from, to);
            return true;
        })
        .Exists([](const auto& name) { return fs::exists(name); })
        .List(List)
        .MakeAndRemove([](const auto& path) { return fs::create_directory(path); }, Remove)
        .MakeFiveLevels([](const auto& path) { return fs::create_directories(path); }, Remove)
        .DeleteTree([](const auto& path) { return fs::remove_all(path) > 0; })
        .Repeat("FileFacts", Facts)
        .Repeat("MonotonicTime",
                [] { return std::chrono::steady_clock::now().time_since_epoch().count() / 1000; })
        .With(
            "NormalizePath", [] { return fs::path(kLongPath); },
            [](const fs::path& path) { return path.lexically_normal(); })
        .Repeat("RelativePath", [] { return fs::relative(kTo, kFrom); })
        .With(
            "ThreeNameParts", [] { return fs::path(kLongPath); }, ThreeParts)
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
            Format)
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
                        .OpenClose<CFile<true>>()
                        .CreateWriteClose<CWriter>()
                        .ReadUnbuffered<CFile<false>>()
                        .ReadUnbufferedLines<CFile<false>>()
                        .ReadBuffered<CFile<true>>()
                        .ReadLines<CFile<true>>()
                        .WriteBuffered<CWriter>();

}  // namespace
