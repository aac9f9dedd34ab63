#pragma once

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include "Common.h"

struct Memory {
    /// The bytes of the process's own memory that are in use: all that is mapped, less what the C
    /// library's allocator has in stock. APR's pools are mapped beside that.
    long long inUse;
    long long resident;  ///< Bytes of memory in use, whoever has asked for them.
};

inline Memory ReadMemory() {
    // Without a stream, whose buffer would change what is read.
    char text[256] = {};
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    MUST(read(file, text, sizeof text - 1) > 0);
    close(file);
    long long resident = 0;
    long long data = 0;
    MUST(std::sscanf(text, "%*s %lld %*s %*s %*s %lld", &resident, &data) == 2);
    const struct mallinfo2 heap = mallinfo2();
    const long long page = sysconf(_SC_PAGESIZE);
    return {data * page - static_cast<long long>(heap.arena - heap.uordblks), resident * page};
}
