// Appends a line to a text file and prints all of its lines, numbered.
//
//     lines FILE TEXT

#include <kelFile.h>
#include <kelStatus.h>

#include <cstdio>
#include <cstring>

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: lines FILE TEXT\n");
        return 2;
    }
    kelFile out(arguments[1], kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeAppend);
    if (!out.IsOpen() || out.WriteLine(arguments[2]) != kelStatusOk ||
        out.WriteLine("\n") != kelStatusOk || out.Close() != kelStatusOk) {
        std::fprintf(stderr, "lines: %s could not be written\n", arguments[1]);
        return 1;
    }

    kelFile in(arguments[1], kelFile::ModeRead | kelFile::ModeBuffered);
    char line[256];
    int number = 1;
    while (in.ReadLine(line, sizeof line) == kelStatusOk) {
        const bool ended = std::strchr(line, '\n') != nullptr;
        std::printf("%3d  %s%s", number++, line, ended ? "" : "...\n");
    }
    return in.EndOfFile() ? 0 : 1;
}
