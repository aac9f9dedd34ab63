#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

/// What the jobs work on, the same for everybody: files and directories in a folder of the
/// benchmark's own, each made when it is first asked for.
class Work {
public:
    static constexpr int kValues = 1000000;  ///< Numbers or lines of a long file.
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

    const std::string& Missing() const { return missing_; }
    const std::string& Target() const { return target_; }
    /// Directories that do not exist, one in the other.
    const std::vector<std::string>& Levels() const { return levels_; }
    const std::string& Small() { return Filled(small_, 13); }
    const std::string& FourThousand() { return Filled(fourThousand_, 4000); }
    const std::string& SixteenMiB() { return Filled(sixteenMiB_, kSixteenMiB); }
    const std::string& Large() { return Filled(large_, std::size_t{64} << 20U); }
    const std::string& Lines() { return Numbered(lines_, kValues); }
    const std::string& FewLines() { return Numbered(fewLines_, 1000); }

    /// A directory with so many entries.
    const std::string& Directory(int entries) {
        std::string& directory = directories_[entries];
        if (directory.empty()) {
            directory = path_ + "/" + std::to_string(entries) + " entries";
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
        }
        return directory;
    }

    /// A new tree of 10,000 empty files, evenly in so many directories.
    std::string MakeTree(int folders) const {
        const std::string tree = path_ + "/tree";
        for (int folder = 0; folder < folders; ++folder) {
            const std::string name = tree + "/folder " + std::to_string(folder);
            std::filesystem::create_directories(name);
            for (int file = 0; file < 10000 / folders; ++file) {
                std::ofstream(name + "/file " + std::to_string(file));
            }
        }
        return tree;
    }

private:
    explicit Work(const std::filesystem::path& folder)
        : path_((folder / "zukel-bench-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) {
            std::abort();
        }
        missing_ = path_ + "/missing";
        target_ = path_ + "/target";
        levels_ = {path_ + "/made"};
        for (const char* name : {"/a", "/b", "/c", "/d"}) {
            levels_.push_back(levels_.back() + name);
        }
    }
    const std::string& Filled(std::string& file, std::size_t size) {
        if (file.empty()) {
            file = path_ + "/" + std::to_string(size) + " bytes";
            std::ofstream(file) << std::string(size, 'x');
        }
        return file;
    }
    const std::string& Numbered(std::string& file, int lines) {
        if (file.empty()) {
            file = path_ + "/" + std::to_string(lines) + " lines";
            std::ofstream out(file);
            for (int line = 0; line < lines; ++line) {
                out << "this is line number " << line << '\n';
            }
        }
        return file;
    }

    std::string path_;
    std::string missing_;
    std::string target_;
    std::vector<std::string> levels_;
    std::string small_;
    std::string fourThousand_;
    std::string sixteenMiB_;
    std::string large_;
    std::string lines_;
    std::string fewLines_;
    std::map<int, std::string> directories_;
};
