// Prints the length of a file.
//
//     size FILE

#include <kelFileInfo.h>

#include <cstdio>

int main(int count, char** arguments) {
    const kelFileInfo info(count == 2 ? arguments[1] : "", kelFileInfo::LinksFollowed);
    if (info.GetType() != kelFileInfo::RegularFile) {
        std::fprintf(stderr, "usage: size FILE\n");
        return 2;
    }
    std::printf("%lld bytes\n", info.GetLength());
    return 0;
}
