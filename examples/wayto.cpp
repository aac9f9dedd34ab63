// Prints the relative path from one directory to another.
//
//     wayto FROM TO
//
// Both may contain ~, $NAME and $PLATFORM. The path is printed in lower case, so a directory with
// capitals in its path is refused where file names are case-sensitive. Exit code: 0 if the path was
// printed, 1 if there is none, 2 for wrong arguments.

#include <kelDirectory.h>
#include <kelFileInfo.h>
#include <kelLibrary.h>

#include <algorithm>
#include <cstdio>

namespace {

// ASCII letters alone, as kelDirectory::GetRelativePath does it.
zuString InLowerCase(zuString text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

// Prints what is wrong with a name: not a directory, or not in lower case.
void PrintProblem(const zuString& name) {
    const zuString lower = InLowerCase(name);
    switch (kelFileInfo(name).GetType()) {
        case kelFileInfo::Directory:
            if (kelFileInfo(lower).GetType() != kelFileInfo::Directory) {
                std::fprintf(stderr,
                             "wayto: %s: has capitals; paths are compared in lower case, and there "
                             "is no directory %s\n",
                             name.c_str(), lower.c_str());
            }
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
        PrintProblem(from);
        PrintProblem(to);
        std::fprintf(stderr, "wayto: no way from %s to %s\n", from.c_str(), to.c_str());
        return 1;
    }
    std::printf("%s\n", way.c_str());
    if (std::fflush(stdout) != 0) {
        std::perror("wayto: the output");
        return 1;
    }
    return 0;
}
