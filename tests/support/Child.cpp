// The program that the tests start: child [VERB [ARGUMENT...]]. Without a verb it ends at once.
// Copy, NativeCopy, Rename and Replace, with two names, are operations of kelFile for the walk that
// kills.

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "zukel.h"

/// Puts the contents of one file into another.
static int Replace(const std::string& from, const std::string& to) {
    std::string contents;
    const int status = kelFile::ReadWhole(from, contents);
    return status == kelStatusOk ? kelFile::ReplaceWhole(to, contents) : status;
}

int main(int count, char** words) {
    const std::string verb = count > 1 ? words[1] : "";
    const std::string argument = count > 2 ? words[2] : "", to = count > 3 ? words[3] : "";
    if (verb == "sleep") {
        std::this_thread::sleep_for(std::chrono::seconds(std::stoi(argument)));
    } else if (verb == "hold") {
        kelSharedMemory memory;
        memory.Create(8, argument);
        std::this_thread::sleep_for(std::chrono::seconds(30));
    } else if (verb == "lock") {
        kelFile file(argument, kelFile::ModeRead | kelFile::ModeWrite);
        file.Lock(kelFile::LockExclusive, -1);
        std::this_thread::sleep_for(std::chrono::seconds(30));
    } else if (verb == "say") {
        std::cout << "1" << std::flush;
        std::cerr << "2";
        for (int at = 2; at < count; ++at) {
            std::cout << words[at] << '\0';
        }
        std::cout << "3";
        std::ofstream("ran") << "in the working directory";
    } else if (verb == "exit") {
        return std::stoi(argument);
    } else if (verb == "both") {  // what it reads, to both outputs
        std::array<char, 70000> room{};
        while (std::cin.read(room.data(), room.size()), std::cin.gcount() > 0) {
            std::cout.write(room.data(), std::cin.gcount());
            std::cerr.write(room.data(), std::cin.gcount());
        }
    } else if (verb == "variable") {
        const char* const value = std::getenv(argument.c_str());
        std::cout << (value != nullptr ? value : "none");
    } else if (verb == "leave") {  // a program of its own, with its streams
        kelProcessOptions options;
        options.command = words[0];
        options.arguments = {"sleep", "30"};
        kelProcess process;
        process.Start(options);
        std::ofstream(argument) << process.GetPid() << std::endl;
        std::this_thread::sleep_for(std::chrono::seconds(to == "wait" ? 30 : 0));
    }
    return verb == "Copy"         ? kelFile::Copy(argument, to, kelFileInfo::PermissionDefault)
           : verb == "NativeCopy" ? kelFile::NativeCopy(argument, to, 0)
           : verb == "Rename"     ? kelFile::Rename(argument, to)
           : verb == "Replace"    ? Replace(argument, to)
                                  : kelStatusOk;
}
