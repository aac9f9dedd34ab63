#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// What the jobs work on, the same for everybody: files and directories in a folder of the
/// benchmark's own, each made when it is first asked for.
class Work {
public:
    static constexpr std::size_t kSixteenMiB = std::size_t{16} << 20U;

    /// The one in TMPDIR.
    static Work& Get() {
        static Work work(std::filesystem::temp_directory_path());
        return work;
    }
    /// The one on a disk: in the folder that the environment names, or in the current one.
    static Work& Disk() {
        const char* const folder = std::getenv("ZUKEL_BENCHMARK_DISK");
        static Work work(folder != nullptr ? folder : ".");
        return work;
    }
    ~Work() { std::filesystem::remove_all(path_); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    /// A name that is free until somebody makes something of it.
    std::string Named(const std::string& name) const { return path_ + "/" + name; }
    std::string Target() const { return Named("target"); }

    std::string Filled(std::size_t size) const {
        return Made(std::to_string(size) + " bytes", [&](const std::string& file) {
            std::ofstream(file) << std::string(size, 'x');
        });
    }
    std::string Lines(int count) const {
        return Made(std::to_string(count) + " lines", [&](const std::string& file) {
            std::ofstream out(file);
            for (int line = 0; line < count; ++line) {
                out << "this is line number " << line << '\n';
            }
        });
    }
    std::string Directory(int entries) const {
        return Made(std::to_string(entries) + " entries", [&](const std::string& directory) {
            std::filesystem::create_directory(directory);
            std::string file;
            for (int number = 0; number < entries; ++number) {
                const std::string name = directory + "/entry number " + std::to_string(number);
                // A file has at most 65000 names on ext4.
                if (number % 50000 == 0 || link(file.c_str(), name.c_str()) != 0) {
                    std::ofstream(name).put('x');
                    file = name;
                }
            }
        });
    }
    /// A new tree of 10,000 empty files, evenly in so many directories.
    std::string MakeTree(int folders) const {
        for (int folder = 0; folder < folders; ++folder) {
            const std::string name = Named("tree/folder ") + std::to_string(folder);
            std::filesystem::create_directories(name);
            for (int file = 0; file < 10000 / folders; ++file) {
                std::ofstream(name + "/file " + std::to_string(file));
            }
        }
        return Named("tree");
    }

private:
    explicit Work(const std::filesystem::path& folder) : path_(folder / "zukel-bench-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            std::abort();
        }
    }
    template <typename Make>
    std::string Made(const std::string& name, Make make) const {
        const std::string path = Named(name);
        if (!std::filesystem::exists(path)) {
            make(path);
        }
        return path;
    }

    std::string path_;
};
