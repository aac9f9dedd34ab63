#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "zukel.h"

/// What tests share, and the headers that most of them use.
namespace zukel::test {

namespace fs = std::filesystem;

constexpr int kOk = kelStatusOk, kFailed = kelStatusFailed;
constexpr int kRead = kelFile::ModeRead, kWrite = kelFile::ModeWrite | kelFile::ModeCreate;
constexpr int kBuffered = kelFile::ModeBuffered;

#ifdef _WIN32
constexpr bool kOnWindows = true;  ///< docs/platform-differences.md tells what is otherwise there.
#else
constexpr bool kOnWindows = false;
#endif
/// The device that takes everything.
constexpr const char* kNullDevice = kOnWindows ? "NUL" : "/dev/null";
/// A file name beyond ASCII: of bytes that are no text where a name may be that.
constexpr const char* kOddName = kOnWindows
                                     ? "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD"
                                     : "\xC3\xA4\xF0\x9F\x98\x80\xEF\xBF\xBD \xFF\xED\xA0\x80";

/// Whether all of these, in their order, are one status.
inline bool All(int status, const std::vector<int>& given) {
    return given == std::vector<int>(given.size(), status);
}

/// Undoes at the end of a scope what the function that gave it has done.
class [[nodiscard]] Guard {
public:
    explicit Guard(std::function<void()> undo) : undo_(std::move(undo)) {}
    ~Guard() { undo_(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    std::function<void()> undo_;
};

/// An empty directory of a test's own, removed with all that is in it at the end.
class TemporaryDirectory {
public:
    /// Below the folder, or where the system puts such things.
    explicit TemporaryDirectory(const fs::path& folder = fs::temp_directory_path()) {
        static std::atomic<unsigned> serial{0};
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
        do {
            const auto number = std::to_string(ticks) + "-" + std::to_string(serial++);
            path_ = (folder / ("zukel-test-" + number)).generic_string();
        } while (!fs::create_directory(path_));
    }
    ~TemporaryDirectory() {
        std::error_code failed;
        for (const auto& entry : fs::recursive_directory_iterator(path_)) {
            if (kOnWindows) {  // which removes no read-only file
                fs::permissions(entry, fs::perms::owner_all, fs::perm_options::add, failed);
            }
        }
        fs::remove_all(path_, failed);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& Path() const { return path_; }
    /// The path of an entry, which need not exist.
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    /// Makes a file with this content and returns its path.
    std::string Write(const std::string& name, const std::string& content = "") const {
        std::ofstream(*this / name, std::ios::binary) << content;
        return *this / name;
    }
    /// How many entries it has, those of subdirectories included.
    auto Count() const { return std::distance(fs::recursive_directory_iterator(path_), {}); }

private:
    std::string path_;
};

/// The whole content of a file; fails the test when it cannot be read.
inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// The bits of the file's mode. Windows: the two that its read-only mark stands for.
inline unsigned ModeOf(const std::string& path) {
    const auto all = static_cast<unsigned>(fs::status(fs::u8path(path)).permissions());
    return kOnWindows ? all & 0600U : all;
}

/// Makes a symbolic link. False where none can be made: by Wine, and not by everybody on Windows.
inline bool MakeLink(const std::string& target, const std::string& name) {
    std::error_code failed;
    fs::create_symlink(target, name, failed);
    return !failed;
}

/// Makes another directory the current one.
inline Guard WorkingDirectory(const std::string& path) {
    const auto former = fs::current_path();
    fs::current_path(path);
    return Guard([former] { fs::current_path(former); });
}

/// Waits until the condition holds, for ten seconds at most; tells whether it does.
inline bool Eventually(const std::function<bool()>& condition) {
    int rounds = 0;
    while (!condition() && ++rounds < 5000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return rounds < 5000;
}

/// Runs the body in eight threads, each with its number, and waits for all of them.
template <typename Body>
void InThreads(Body body) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back(body, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Like cases, written as a table: `text` holds the cells, `kColumns` for each case, parted by
/// white space and taken as they stand; `_` stands for an empty one.
template <std::size_t kColumns>
auto Table(const std::string& text) {
    std::vector<std::array<std::string, kColumns>> rows;
    std::istringstream cells(text);
    std::string cell;
    for (std::size_t count = 0; cells >> cell; ++count) {
        rows.resize(count / kColumns + 1);
        rows.back()[count % kColumns] = cell == "_" ? "" : cell;
    }
    return rows;
}

}  // namespace zukel::test
