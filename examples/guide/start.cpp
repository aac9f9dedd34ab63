// Starts a program with its output in a file, and waits for it for half a second at most.
//
//     start PROGRAM [ARGUMENT...]

#include <kelProcess.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count < 2) {
        std::fprintf(stderr, "usage: start PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    kelProcessOptions options;
    options.command = arguments[1];
    options.arguments.assign(arguments + 2, arguments + count);
    options.output = {kelProcessOptions::StreamFile, "output.txt"};
    kelProcess process;
    if (process.Start(options) != kelStatusOk) {
        std::printf("it did not start: %s\n", process.GetLastError().c_str());
        return 1;
    }
    if (process.Wait(500000) == kelStatusTimedOut) {
        std::printf("it takes too long\n");
        process.Kill();
        process.Wait(-1);  // without a limit
    }
    int number = 0;
    if (process.GetExitCode(number) == kelStatusOk) {
        std::printf("exit code %d\n", number);
    } else if (process.GetSignal(number) == kelStatusOk) {
        std::printf("ended by signal %d\n", number);
    }
    return 0;
}
