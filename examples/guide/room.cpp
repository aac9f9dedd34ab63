// Checks whether a number of MiB is free in memory and on the disk of a directory.
//
//     room MIB DIRECTORY

#include <kelSystem.h>

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
    zuDiskInfo disk;
    if (count != 3 || !kelSystem::GetFreeDiskSpace(arguments[2], disk)) {
        std::fprintf(stderr, "usage: room MIB DIRECTORY\n");
        return 2;
    }
    const unsigned long long wanted = std::strtoull(arguments[1], nullptr, 10);
    kelMemoryInfo memory;
    kelSystem::GetMemoryDetails(memory);
    std::printf("memory: %s\n", memory.availablePhysical >> 10U >= wanted ? "yes" : "no");
    std::printf("disk: %s\n", disk.freeBytes >> 20U >= wanted ? "yes" : "no");
    return 0;
}
