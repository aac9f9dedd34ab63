#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
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
    explicit TemporaryDirectory(const std::string& folder = "");
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& Path() const { return path_; }
    /// The path of an entry, which need not exist.
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    /// Makes a file with this content and returns its path.
    std::string Write(const std::string& name, const std::string& content = "") const;
    /// How many entries it has, those of subdirectories included.
    std::size_t Count() const;

private:
    std::string path_;
};

/// The whole content of a file; fails the test when it cannot be read.
std::string ReadWhole(const std::string& path);

/// The bits of the file's mode. Windows: the two that its read-only mark stands for.
unsigned ModeOf(const std::string& path);

/// Makes a symbolic link. False where none can be made: by Wine, and not by everybody on Windows.
bool MakeLink(const std::string& target, const std::string& name);

/// Makes another directory the current one.
Guard WorkingDirectory(const std::string& path);

/// Waits until the condition holds, for ten seconds at most; tells whether it does.
bool Eventually(const std::function<bool()>& condition);

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
std::vector<std::array<std::string, kColumns>> Table(const std::string& text) {
    std::vector<std::array<std::string, kColumns>> rows;
    std::size_t cells = 0, end = 0;
    for (std::size_t at; (at = text.find_first_not_of(" \n", end)) != std::string::npos; ++cells) {
        end = text.find_first_of(" \n", at);
        rows.resize(cells / kColumns + 1);
        rows.back()[cells % kColumns] =
            text.compare(at, end - at, "_") == 0 ? "" : text.substr(at, end - at);
    }
    return rows;
}

}  // namespace zukel::test
