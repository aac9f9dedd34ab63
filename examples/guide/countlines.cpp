// Counts the lines of a file with four threads that read parts of it through one object.
//
//     countlines FILE

#include <kelFile.h>
#include <kelStatus.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

constexpr unsigned long long kBlock = 65536;

}  // namespace

int main(int count, char** arguments) {
    kelFile file(count == 2 ? arguments[1] : "", kelFile::ModeRead);  // without ModeBuffered
    if (!file.IsOpen()) {
        std::fprintf(stderr, "usage: countlines FILE\n");
        return 2;
    }
    std::atomic<long long> next{0};
    std::atomic<long long> lines{0};
    std::atomic<bool> failed{false};
    const auto work = [&] {
        std::vector<char> block(kBlock);
        for (unsigned long long size = kBlock; size == kBlock;) {
            if (file.ReadAt(next.fetch_add(kBlock), block.data(), size) != kelStatusOk) {
                failed = true;
                return;
            }
            lines += std::count(block.data(), block.data() + size, '\n');
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("%lld lines\n", lines.load());
    return failed ? 1 : 0;
}
