#include "support/System.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace zukel::test {

const bool kOnWindows = true;
const char* const kOddName = "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD";
const char* const kNullDevice = "NUL";
const char* const kPathSeparator = ";";

bool MakeLink(const std::string&, const std::string&) {
    return false;
}

bool MakePipeAndSocket(const std::string&, const std::string&) {
    return false;
}

unsigned ModeOf(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0400 : 0600;
}

unsigned SetUmask(unsigned) {
    return 0;
}

void SetTimes(const std::string& path, std::int64_t access, std::int64_t change) {
    const auto time = [](std::int64_t nanoseconds) {
        constexpr std::int64_t kSince1601 = 116444736000000000;  // in the system's units of 100 ns
        const std::int64_t rest = (nanoseconds % 100 + 100) % 100;
        LARGE_INTEGER units{};
        units.QuadPart = kSince1601 + (nanoseconds - rest) / 100;
        return FILETIME{units.LowPart, static_cast<DWORD>(units.HighPart)};
    };
    const FILETIME accessed = time(access);
    const FILETIME changed = time(change);
    const HANDLE file = CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(SetFileTime(file, nullptr, &accessed, &changed));
    EXPECT_TRUE(CloseHandle(file));
}

std::string UserName() {
    return std::getenv("USERNAME");
}

std::string HomeDirectory() {
    std::string directory = std::getenv("USERPROFILE");
    std::replace(directory.begin(), directory.end(), '\\', '/');
    return directory;
}

unsigned long long MachineMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    EXPECT_TRUE(GlobalMemoryStatusEx(&status));
    return status.ullTotalPhys;
}

int Processors() {
    return std::atoi(std::getenv("NUMBER_OF_PROCESSORS"));
}

int SessionOf(int) {
    return -1;
}

Guard WorkingDirectory(const std::string& path) {
    const auto former = std::filesystem::current_path();
    std::filesystem::current_path(path);
    return Guard([former] { std::filesystem::current_path(former); });
}

Guard Unprivileged() {
    return Guard([] {});
}

Guard FileSizeLimit(unsigned long long) {
    ADD_FAILURE() << "there is no such limit";
    return Guard([] {});
}

void LetTheLimitEndTheProcess() {}

Guard FrequentSignals() {
    return Guard([] {});
}

std::set<int> InheritedDescriptors() {
    return {};
}

void InChild(const std::function<void()>& body) {
    body();
}

OtherChild::OtherChild() : pid_(-1) {}

int OtherChild::Collect() {
    return 7;
}

bool HasNoChildren() {
    return true;
}

}  // namespace zukel::test
