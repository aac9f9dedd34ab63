// Four threads query files, each with objects of its own.

#include <kelAtomic.h>
#include <kelFile.h>
#include <kelFileInfo.h>

#include <cstdio>
#include <thread>
#include <vector>

int main() {
    kelAtomic found;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&found] {
            for (int round = 0; round < 250; ++round) {
                const kelFileInfo info(".");  // not shared: an object belongs to one thread
                if (info.GetType() == kelFileInfo::Directory && kelFile::Exists(".")) {
                    found.Increment();  // a counter may be shared
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("found %u times\n", found.Increment());  // returns the value before
    return 0;
}
