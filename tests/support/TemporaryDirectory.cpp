#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>

namespace zukel::test {

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory(const std::string& folder) {
    static std::atomic<unsigned> serial{0};
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    do {
        path_ = ((folder.empty() ? fs::temp_directory_path() : fs::path(folder)) /
                 ("zukel-test-" + std::to_string(ticks) + "-" + std::to_string(serial++)))
                    .generic_string();
    } while (!fs::create_directory(path_));
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code failed;
    fs::remove_all(path_, failed);
    if (failed) {  // Windows removes no read-only file
        for (const auto& entry : fs::recursive_directory_iterator(path_)) {
            fs::permissions(entry, fs::perms::owner_all, fs::perm_options::add, failed);
        }
        fs::remove_all(path_, failed);
    }
}

std::string TemporaryDirectory::Write(const std::string& name, const std::string& content) const {
    const std::string path = *this / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::size_t TemporaryDirectory::Count() const {
    const fs::recursive_directory_iterator all(path_);
    return static_cast<std::size_t>(std::distance(fs::begin(all), fs::end(all)));
}

std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace zukel::test
