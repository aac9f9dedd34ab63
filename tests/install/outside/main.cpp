// An application outside of the project: writes a value to a file and reads it back.

#include <kelFile.h>
#include <zukel.h>

#include <cstdio>

#if __has_include(<apr.h>)
#error "The headers of the runtime have reached the application."
#endif

int main() {
    kelLibrary library;
    kelFile file;
    int value = 0;
    if (file.CreateTemporaryFile("outside-XXXXXX") != kelStatusOk ||
        file.Write(42) != kelStatusOk || file.SeekToBegin() != kelStatusOk ||
        file.Read(value) != kelStatusOk) {
        return 1;
    }
    std::printf("read back: %d\n", value);
    return file.Close() == kelStatusOk ? 0 : 1;
}
