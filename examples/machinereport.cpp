// Prints what the library reports about the machine and its user.
//
//     machinereport [DIRECTORY...]
//
// The disks are those of the directories, or those of the root, the home directory and the
// directory for temporary files.
//
// Exit code: 0; 1 if the disk of a named directory cannot be queried or the report cannot be
// written; 2 for wrong arguments.

#include <kelCPUInfo.h>
#include <kelFile.h>
#include <kelLibrary.h>
#include <kelStatus.h>
#include <kelSystem.h>
#include <kelTime.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr unsigned long long kNone = ~0ULL;  // a value that the platform does not report
constexpr const char* kUnknown = "unknown";

void Line(const char* what, const std::string& value) {
    std::printf("  %-18s%s\n", what, value.empty() ? kUnknown : value.c_str());
}

// A number of bytes, rounded to about three digits, with its unit.
std::string Size(double bytes) {
    const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    std::size_t unit = 0;
    while (bytes >= 1000 && unit + 1 < std::size(units)) {
        bytes /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", unit == 0 || bytes >= 100 ? 0 : 1, bytes,
                  units[unit]);
    return text;
}

// A figure of kelSystem's memory, in kilobytes.
std::string Memory(unsigned long long kilobytes) {
    return kilobytes == kNone ? kUnknown : Size(static_cast<double>(kilobytes) * 1024);
}

std::string Percent(unsigned long long part, unsigned long long whole) {
    if (part == kNone || whole == kNone || whole == 0) {
        return "";
    }
    char text[16];
    std::snprintf(text, sizeof text, "%.0f %%",
                  100 * static_cast<double>(part) / static_cast<double>(whole));
    return text;
}

void Heading(const char* what, const char* first, const char* second, const char* third) {
    std::printf("\n%-20s%12s%12s%12s\n", what, first, second, third);
}

void Figures(const std::string& what, const std::string& first, const std::string& second,
             const std::string& third, const std::string& share) {
    std::printf("  %-18s%12s%12s%12s%s%s\n", what.c_str(), first.c_str(), second.c_str(),
                third.c_str(), share.empty() ? "" : "  used ", share.c_str());
}

std::string TimeText(const kelTime& time) {
    zuString text;
    time.GetFormatTime(text, "%A, %Y-%m-%d %H:%M:%S %z");
    return text;
}

// How long the machine has been up, on systems that have /proc/uptime.
std::string Uptime() {
    kelFile file("/proc/uptime", kelFile::ModeRead);
    char line[64];
    if (file.ReadLine(line, sizeof line) != kelStatusOk) {
        return "";
    }
    const long seconds = std::strtol(line, nullptr, 10);
    char text[64];
    std::snprintf(text, sizeof text, "%ld days %02ld:%02ld:%02ld", seconds / 86400,
                  seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
    return text;
}

void ReportUser(kelLibrary& library, zuString& home) {
    zuString user;
    zuString host;
    library.GetCurrentUserName(user);
    library.GetHostName(host);
    library.GetUserDirectory(home);
    const char* const locale = library.GetLocale();
    std::printf("Session\n");
    Line("user", user);
    Line("host", host);
    Line("locale", locale == nullptr ? "none chosen" : locale);
    Line("home", home);
    Line("temporary files", library.GetTempDir());
}

void ReportProcessor() {
    std::printf("\nProcessor\n");
    Line("vendor", kelCPUInfo::GetCPUID());
    Line("processors", std::to_string(kelCPUInfo::GetNumProcessors()));
    Line("room in a package", std::to_string(kelCPUInfo::GetLogicalProcsPerPackage()));
    Line("multi-threading", kelCPUInfo::HasCMT() ? "yes" : "no");
}

void ReportClock() {
    const kelTime now = kelTime::GetNow();
    kelTime local(now);
    local.MakeLocalTime();
    std::printf("\nClock\n");
    Line("local time", TimeText(local));
    Line("universal time", TimeText(now));
    Line("machine is up", Uptime());
}

void ReportMemory() {
    kelMemoryInfo memory;
    kelSystem::GetMemoryDetails(memory);
    Heading("Memory", "total", "used", "available");
    Figures("physical", Memory(memory.totalPhysical), Memory(memory.usedPhysical),
            Memory(memory.availablePhysical), Percent(memory.usedPhysical, memory.totalPhysical));
    Figures("paging", Memory(memory.totalPaging), Memory(memory.usedPaging),
            Memory(memory.availablePaging), Percent(memory.usedPaging, memory.totalPaging));
    Figures("address space", Memory(memory.totalVirtual), Memory(memory.usedVirtual),
            Memory(memory.availableVirtual), "");
}

bool ReportDisks(const std::vector<std::string>& directories) {
    bool all = true;
    Heading("Disks", "total", "free", "");
    for (const std::string& directory : directories) {
        zuDiskInfo disk;
        if (!kelSystem::GetFreeDiskSpace(directory.c_str(), disk)) {
            std::fprintf(stderr, "machinereport: no disk holds %s\n", directory.c_str());
            all = false;
            continue;
        }
        Figures(directory, Size(static_cast<double>(disk.totalBytes)),
                Size(static_cast<double>(disk.freeBytes)), Percent(disk.freeBytes, disk.totalBytes),
                "");
    }
    return all;
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<std::string> directories(arguments + 1, arguments + count);
    for (const std::string& directory : directories) {
        if (directory.empty() || directory[0] == '-') {
            std::fprintf(stderr, "usage: machinereport [DIRECTORY...]\n");
            return 2;
        }
    }
    kelLibrary library;
    zuString home;
    ReportUser(library, home);
    ReportProcessor();
    ReportClock();
    ReportMemory();
    if (directories.empty()) {
        directories = {"/", home, library.GetTempDir()};
        directories.erase(std::remove(directories.begin(), directories.end(), ""),
                          directories.end());
    }
    std::fflush(stdout);  // before anything goes to stderr
    const bool all = ReportDisks(directories);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "machinereport: the report cannot be written\n");
        return 1;
    }
    return all ? 0 : 1;
}
