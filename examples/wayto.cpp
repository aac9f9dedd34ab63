// Prints the way from one directory to another, as a path to follow.
//
//     wayto FROM TO
//
// Both may be written with ~, $NAME and $PLATFORM. They are compared in lower case, which is how
// the way is printed; on a file system that tells case apart, a directory with capitals in its path
// is therefore not found. Exit code: 0 when there is a way, 1 when there is none, 2 for a wrong
// call.

#include <kelDirectory.h>
#include <kelFileInfo.h>
#include <kelLibrary.h>

#include <cstdio>

namespace {

// Says what is wrong with a name, if it is not that of a directory.
void TellWhyNot(const zuString& name) {
    switch (kelFileInfo(name).GetType()) {
        case kelFileInfo::Directory:
            break;
        case kelFileInfo::NoFile:
            std::fprintf(stderr, "wayto: %s: no such directory\n", name.c_str());
            break;
        case kelFileInfo::Link:
            std::fprintf(stderr, "wayto: %s: a link; put a / behind it to follow it\n",
                         name.c_str());
            break;
        default:
            std::fprintf(stderr, "wayto: %s: not a directory\n", name.c_str());
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: wayto FROM TO\n");
        return 2;
    }
    const zuString way = kelDirectory::GetRelativePath(arguments[1], arguments[2]);
    if (way.empty()) {
        const zuString from = kelLibrary::GetAbsoluteFileName(arguments[1]);
        const zuString to = kelLibrary::GetAbsoluteFileName(arguments[2]);
        TellWhyNot(from);
        TellWhyNot(to);
        std::fprintf(stderr,
                     "wayto: no way from %s to %s: both must be directories without capitals in "
                     "their paths, and more than dots\n",
                     from.c_str(), to.c_str());
        return 1;
    }
    std::printf("%s\n", way.c_str());
    return 0;
}
