// Replaces the contents of a file: after a failure or a power cut it has the old or the new
// contents.
//
//     replace FILE TEXT

#include <kelFile.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: replace FILE TEXT\n");
        return 2;
    }
    const zuString contents = zuString(arguments[2]).append("\n");
    if (kelFile::ReplaceWhole(arguments[1], contents) != kelStatusOk) {
        std::fprintf(stderr, "replace: %s\n", kelLibrary::GetErrorText().c_str());
        return 1;
    }
    return 0;
}
