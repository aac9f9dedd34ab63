#pragma once

#include <filesystem>
#include <set>
#include <string>

/// The little of the system that tests ask for beyond the standard library.
namespace zukel::test {

/// Makes another directory the current one for the length of a test.
class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::string& path) : former_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(former_); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    std::filesystem::path former_;
};

/// Takes root's power over permissions away for as long as it lives; nothing to do for others.
class Unprivileged {
public:
    Unprivileged();
    ~Unprivileged();
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    bool dropped_;
};

/// Keeps the process from making any file larger, as a device does that runs full: a write takes
/// what still fits, and the next one fails.
class FileSizeLimit {
public:
    explicit FileSizeLimit(unsigned long long bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
};

/// The descriptors of this process that a program started now would inherit.
std::set<int> InheritedDescriptors();

}  // namespace zukel::test
