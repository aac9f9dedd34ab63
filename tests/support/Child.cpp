// The program that the tests start: child [VERB [ARGUMENT...]]. Without a verb it ends at once.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "kelSharedMemory.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace {

void Put(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

/// Makes a segment and doubles in its second cell what stands in the first, for as long as it runs.
void Double(const char* name) {
    kelSharedMemory memory;
    memory.Create(8, name);
    auto* const cells = static_cast<volatile int*>(memory.GetBaseAddress());
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (cells != nullptr && std::chrono::steady_clock::now() < end) {
        cells[1] = cells[0] * 2;
    }
}

}  // namespace

int main(int count, char** words) {
    const std::string verb = count > 1 ? words[1] : "";
    const char* const argument = count > 2 ? words[2] : "";
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
    if (verb == "sleep") {
        std::this_thread::sleep_for(std::chrono::seconds(std::stoi(argument)));
    } else if (verb == "say") {
        Put(stdout, "1\n");
        Put(stderr, "2\n");
        Put(stdout, "3\n");
        std::ofstream("ran") << "in the working directory";
    } else if (verb == "flood") {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Put(stdout, std::string(1000000, '\0'));
        Put(stderr, std::string(1000000, '\0'));
        if (std::ferror(stdout) == 0 && std::ferror(stderr) == 0) {
            std::ofstream("ended") << "alive";
        }
    } else if (verb == "arguments") {
        Put(stdout, "1");
        for (int at = 2; at < count; ++at) {
            Put(stdout, words[at] + std::string(1, '\0'));
        }
    } else if (verb == "double") {
        Double(argument);
    }
}
