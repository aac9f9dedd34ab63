// Runs a program with a text as its input, and prints its output.
//
//     run PROGRAM [ARGUMENT...]

#include <kelProcess.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: run PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    kelProcessOptions options;
    options.command = arguments[1];
    options.arguments.assign(arguments + 2, arguments + count);
    options.setVariables = {{"LC_ALL", "C"}};
    zuString output;
    zuString errors;
    int exitCode = 0;
    constexpr long long kTenSeconds = 10000000;
    const int status =
        kelProcess::Run(options, "Eve\nAdam\n", output, errors, exitCode, kTenSeconds);
    if (status != kelStatusOk) {
        std::printf("%s\n", status == kelStatusTimedOut ? "it took too long" : "it did not start");
        return 1;
    }
    std::printf("%s%sexit code %d\n", output.c_str(), errors.c_str(), exitCode);
    return 0;
}
