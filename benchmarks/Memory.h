#pragma once

#include <malloc.h>
#include <unistd.h>

#include <fstream>

struct Memory {
    /// The bytes of the process's own memory that are in use: all that is mapped, less what the C
    /// library's allocator has in stock. APR's pools are mapped beside that.
    long long inUse;
    long long resident;  ///< Bytes of memory in use, whoever has asked for them.
};

inline Memory ReadMemory() {
    long long size = 0;
    long long resident = 0;
    long long ignored = 0;
    long long data = 0;
    std::ifstream("/proc/self/statm") >> size >> resident >> ignored >> ignored >> ignored >> data;
    const struct mallinfo2 heap = mallinfo2();
    const long long page = sysconf(_SC_PAGESIZE);
    return {data * page - static_cast<long long>(heap.arena - heap.uordblks), resident * page};
}
