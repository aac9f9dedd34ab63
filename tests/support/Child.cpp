// The program that the tests start: child [VERB [ARGUMENT...]]. Without a verb it ends at once.
// Copy, NativeCopy and Rename, with two names, are operations of kelFile for the walk that kills.

#include <chrono>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "zukel.h"

int main(int count, char** words) {
    const std::string verb = count > 1 ? words[1] : "";
    const std::string argument = count > 2 ? words[2] : "", to = count > 3 ? words[3] : "";
    if (verb == "sleep") {
        std::this_thread::sleep_for(std::chrono::seconds(std::stoi(argument)));
    } else if (verb == "say") {
        std::cout << "1" << std::flush;
        std::cerr << "2";
        std::cout << "3";
        std::ofstream("ran") << "in the working directory";
    } else if (verb == "flood") {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::cout << std::string(1000000, '\0') << std::flush;
        std::cerr << std::string(1000000, '\0');
        if (std::cout && std::cerr) {
            std::ofstream("ended") << "alive";
        }
    } else if (verb == "arguments") {
        for (int at = 2; at < count; ++at) {
            std::cout << words[at] << '\0';
        }
    } else if (verb == "double") {
        // Doubles in the second cell of a segment what stands in the first, for 20 seconds.
        kelSharedMemory memory;
        memory.Create(8, argument);
        auto* const cells = static_cast<volatile int*>(memory.GetBaseAddress());
        using Clock = std::chrono::steady_clock;
        for (const auto end = Clock::now() + std::chrono::seconds(20); Clock::now() < end;) {
            cells[1] = cells[0] * 2;
        }
    } else if (verb == "Copy") {
        return kelFile::Copy(argument, to, kelFileInfo::PermissionDefault) != kelStatusOk;
    } else if (verb == "NativeCopy") {
        return kelFile::NativeCopy(argument, to, 0) != kelStatusOk;
    } else if (verb == "Rename") {
        return kelFile::Rename(argument, to) != kelStatusOk;
    }
}
