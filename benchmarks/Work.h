#pragma once

#include <unistd.h>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

/// What the jobs work on, the same for everybody: files and directories in a folder of the
/// benchmark's own, each made when it is first asked for.
class Work {
public:
    static constexpr int kValues = 1000000;           ///< Numbers or lines of a long file.
    static constexpr std::size_t kBlock = 64 * 1024;  ///< Of a file that is read in blocks.

    static Work& Get() {
        static Work work;
        return work;
    }
    ~Work() { std::filesystem::remove_all(path_); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    const std::string& Path() const { return path_; }
    std::string Missing() const { return path_ + "/missing"; }
    std::string Target() const { return path_ + "/target"; }
    const std::string& Small() { return Filled("small", 13); }
    const std::string& FourThousand() { return Filled("4000", 4000); }
    const std::string& SixteenMiB() { return Filled("16MiB", std::size_t{16} << 20U); }
    const std::string& Large() { return Filled("64MiB", std::size_t{64} << 20U); }
    const std::string& Lines() { return Numbered("lines", kValues); }
    const std::string& FewLines() { return Numbered("few", 1000); }

    /// A directory with so many entries.
    const std::string& Directory(std::int64_t entries) {
        std::string& directory = made_["directory" + std::to_string(entries)];
        if (directory.empty()) {
            directory = path_ + "/" + std::to_string(entries) + " entries";
            std::filesystem::create_directory(directory);
            std::string file;
            for (std::int64_t number = 0; number < entries; ++number) {
                const std::string name = directory + "/entry number " + std::to_string(number);
                // A file has at most 65000 names on ext4.
                if (number % 50000 == 0 || link(file.c_str(), name.c_str()) != 0) {
                    std::ofstream(name).put('x');
                    file = name;
                }
            }
        }
        return directory;
    }

private:
    Work() {
        std::string name = (std::filesystem::temp_directory_path() / "zukel-bench-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    const std::string& Filled(const char* name, std::size_t size) {
        std::string& file = made_[name];
        if (file.empty()) {
            file = path_ + "/" + name;
            std::ofstream(file) << std::string(size, 'x');
        }
        return file;
    }
    const std::string& Numbered(const char* name, int lines) {
        std::string& file = made_[name];
        if (file.empty()) {
            file = path_ + "/" + name;
            std::ofstream out(file);
            for (int line = 0; line < lines; ++line) {
                out << "this is line number " << line << '\n';
            }
        }
        return file;
    }

    std::string path_;
    std::map<std::string, std::string> made_;
};
