#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/wait.h>
#endif

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
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "zukel.h"

/// What tests share, and the headers that most of them use.
namespace zukel::test {

namespace fs = std::filesystem;

constexpr int kOk = kelStatusOk, kFailed = kelStatusFailed;
constexpr int kRead = kelFile::ModeRead, kWrite = kelFile::ModeWrite | kelFile::ModeCreate;
constexpr int kBuffered = kelFile::ModeBuffered, kReadWrite = kRead | kelFile::ModeWrite;

/// docs/platform-differences.md tells what is otherwise there.
constexpr bool kOnWindows = fs::path::preferred_separator == '\\';
/// The device that takes everything.
constexpr const char* kNullDevice = kOnWindows ? R"(\\.\NUL)" : "/dev/null";
/// A non-ASCII file name; on Linux with invalid UTF-8.
constexpr const char* kOddName = kOnWindows
                                     ? "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD"
                                     : "\xC3\xA4\xF0\x9F\x98\x80\xEF\xBF\xBD \xFF\xED\xA0\x80";

using testing::Each;
using testing::ElementsAre;
/// What several calls return: `EXPECT_THAT(Statuses({a.Close(), b.Close()}), Each(kOk))`.
using Statuses = std::vector<int>;

/// A call and its text, for lists of calls that have one thing in common.
using Call = std::pair<const char*, std::function<int()>>;
#define CALL(...) Call(#__VA_ARGS__, [&]() -> int { return __VA_ARGS__; })

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
        do {
            const std::string name = "zukel-test-" + std::to_string(std::random_device()());
            path_ = (folder / name).generic_string();
        } while (!fs::create_directory(path_));
    }
    ~TemporaryDirectory() {
        std::error_code failed;
        constexpr auto kAdd = fs::perm_options::add | fs::perm_options::nofollow;
        for (const auto& entry : fs::recursive_directory_iterator(path_)) {
            fs::permissions(entry, fs::perms::owner_all, kAdd, failed);  // for Windows' sake
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

/// Makes another directory the current one.
inline Guard WorkingDirectory(const std::string& path) {
    const auto former = fs::current_path();
    fs::current_path(path);
    return Guard([former] { fs::current_path(former); });
}

/// A test in an empty directory of its own, which is the current one.
struct InDirectory : testing::Test {
    explicit InDirectory(const fs::path& folder = fs::temp_directory_path()) : directory(folder) {}
    const TemporaryDirectory directory;
    const Guard here = WorkingDirectory(directory.Path());
};

/// Bytes without a pattern, others for each seed.
inline std::string Noise(std::size_t size, unsigned seed = 1) {
    std::string bytes(size, '\0');
    std::mt19937 random(seed);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

/// Runs the body in several threads, which begin as much at once as they can.
/// @param body takes the number of its thread, from 0.
inline void InThreads(int count, const std::function<void(int)>& body) {
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&, number] {
            for (--waiting; waiting > 0;) {
            }
            body(number);
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& each) { each.join(); });
}

/// The whole content of a file; fails the test when it cannot be read.
inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return (std::ostringstream() << file.rdbuf()).str();
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

/// Waits until the condition holds, for ten seconds at most; tells whether it does.
inline bool Eventually(const std::function<bool()>& condition) {
    int rounds = 0;
    while (!condition() && ++rounds < 5000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return rounds < 5000;
}

/// Wine 8 refuses one start in some 1,500 with ERROR_INTERNAL_ERROR, whatever the library does.
inline int Started(const std::function<int()>& start) {
    const int status = start();
    const bool refused = status != kOk && kelLibrary::GetErrorNumber() == 1359;
    return kOnWindows && refused ? start() : status;
}

inline bool Ends(const kelProcess& process) {
    return Eventually([&] { return !process.IsRunning(); });
}

/// Starts children until every earlier one has been reaped; false if some remain after ten seconds.
/// Windows has none to be reaped.
inline bool AllReaped() {
    return Eventually([] {
        kelProcess next;
        bool none = next.Start(ZUKEL_TEST_CHILD, false) == kOk && Ends(next);
#ifndef _WIN32
        siginfo_t child{};
        none = none && waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0;
#endif
        return none;
    });
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
