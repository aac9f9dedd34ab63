#include "support/Testing.h"

#include <atomic>
#include <chrono>
#include <sstream>

namespace zukel::test {

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
    for (const auto& entry : fs::recursive_directory_iterator(path_)) {
        if (kOnWindows) {  // which removes no read-only file
            fs::permissions(entry, fs::perms::owner_all, fs::perm_options::add, failed);
        }
    }
    fs::remove_all(path_, failed);
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
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

unsigned ModeOf(const std::string& path) {
    const auto all = static_cast<unsigned>(fs::status(fs::u8path(path)).permissions());
    return kOnWindows ? all & 0600U : all;
}

bool MakeLink(const std::string& target, const std::string& name) {
    std::error_code failed;
    fs::create_symlink(target, name, failed);
    return !failed;
}

Guard WorkingDirectory(const std::string& path) {
    const auto former = fs::current_path();
    fs::current_path(path);
    return Guard([former] { fs::current_path(former); });
}

bool Eventually(const std::function<bool()>& condition) {
    int rounds = 0;
    while (!condition() && ++rounds < 5000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return rounds < 5000;
}

}  // namespace zukel::test
