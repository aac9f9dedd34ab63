// Runs a program, with its output in two files, until it has ended.
//
//     start PROGRAM [ARGUMENT...]

#include <kelProcess.h>
#include <kelStatus.h>
#include <kelTime.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: start PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    const zuString program = arguments[1];
    kelProcess process;
    if (process.Start(program, {arguments + 2, arguments + count}, "", {"output.txt", "errors.txt"},
                      false) != kelStatusOk) {
        std::printf("%s did not start: %s\n", program.c_str(), process.GetLastError().c_str());
        return 1;
    }
    while (process.IsRunning()) {
        kelTime::Sleep(10000);  // microseconds; a program with a loop of its own asks there
    }
    std::printf("%s has ended\n", program.c_str());
    return 0;
}
