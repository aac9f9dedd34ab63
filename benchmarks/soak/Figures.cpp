#include <dirent.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Soak.h"

namespace {

long long CountDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries)) - 1;  // less the one that lists them
}

/// By the kernel's list of this thread's children, which are those of the whole process here: the
/// other threads start none.
long long CountZombies() {
    std::ifstream children("/proc/thread-self/children");
    Check(children.good(), "reading the list of children");
    long long count = 0;
    for (std::string child; children >> child;) {
        std::ifstream file("/proc/" + child + "/stat");
        std::string line;
        std::getline(file, line);
        const std::size_t name = line.rfind(')');
        count += name != std::string::npos && line.compare(name, 3, ") Z") == 0 ? 1 : 0;
    }
    return count;
}

}  // namespace

Figures ReadFigures() {
    malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    long long size = 0;
    long long resident = 0;
    long long ignored = 0;
    long long data = 0;
    file >> size >> resident >> ignored >> ignored >> ignored >> data;
    const struct mallinfo2 heap = mallinfo2();
    const long long page = sysconf(_SC_PAGESIZE);
    return {data * page - static_cast<long long>(heap.arena - heap.uordblks), resident * page,
            CountDescriptors(), CountZombies()};
}

void Check(bool succeeded, const char* what) {
    if (!succeeded) {
        std::fprintf(stderr, "\nsoak: failed: %s\n", what);
        std::exit(1);
    }
}
