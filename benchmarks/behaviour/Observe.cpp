#include "Observe.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace fs = std::filesystem;

Folder::Folder(const std::string& above) : path_(above + "/behaviour-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        std::abort();
    }
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void WriteFile(const std::string& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

std::string StateOfFile(const std::string& path, const std::string& contents) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return "absent";
    }
    const std::string found(std::istreambuf_iterator<char>(file), {});
    return found == contents ? "whole" : found.empty() ? "empty" : "changed";
}

namespace {

/// The state letter of a process, or 0, and who its parent is.
char StateOf(const std::string& process, long& parent) {
    std::ifstream file("/proc/" + process + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t name = line.rfind(')');
    if (name == std::string::npos || name + 4 > line.size()) {
        return 0;
    }
    parent = std::strtol(line.c_str() + name + 3, nullptr, 10);
    return line[name + 2];
}

}  // namespace

int CountZombies() {
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        long parent = 0;
        if (StateOf(entry.path().filename(), parent) == 'Z' && parent == getpid()) {
            ++count;
        }
    }
    return count;
}

bool Runs(long pid) {
    long parent = 0;
    const char state = StateOf(std::to_string(pid), parent);
    return state != 0 && state != 'Z' && state != 'X';
}

bool WaitUntil(int milliseconds, const std::function<bool()>& condition,
               const std::function<void()>& turn) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        if (turn) {
            turn();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
