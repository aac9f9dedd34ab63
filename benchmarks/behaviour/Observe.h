#pragma once

#include <string>

#include "Library.h"

/// What can be seen without the library: in the file system and in /proc.

/// A directory of its own, removed with everything in it.
class Folder {
public:
    explicit Folder(const std::string& above);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

void WriteFile(const std::string& path, const std::string& contents);
/// "whole", "absent", "empty" or "changed", as compared with `contents`.
std::string StateOfFile(const std::string& path, const std::string& contents);

/// How many ended children of this process nobody has collected.
int CountZombies();
/// Whether the process is there and not a zombie.
bool Runs(long pid);

/// Waits until `condition`, for at most `milliseconds`, turning the library's event loop if asked.
/// @returns the condition's last word.
bool WaitUntil(int milliseconds, const std::function<bool()>& condition,
               const std::function<void()>& turn = {});
