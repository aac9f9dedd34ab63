#pragma once

#include <filesystem>
#include <string>

namespace zukel::test {

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
    std::string Write(const std::string& name, const std::string& content) const;
    /// How many entries it has, those of subdirectories included.
    std::size_t Count() const;

private:
    std::string path_;
};

/// The whole content of a file; fails the test when it cannot be read.
std::string ReadWhole(const std::string& path);

}  // namespace zukel::test
