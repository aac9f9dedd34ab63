// Removes a directory with everything in it.
//
//     clear DIRECTORY

#include <kelDirectory.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: clear DIRECTORY\n");
        return 2;
    }
    switch (kelDirectory::DeleteTree(arguments[1])) {
        case kelStatusOk:
            std::printf("gone\n");
            return 0;
        case kelStatusNotFound:
            std::printf("there is no such directory\n");
            return 0;
        default:
            std::printf("something is left: %s\n", kelLibrary::GetErrorText().c_str());
            return 1;
    }
}
