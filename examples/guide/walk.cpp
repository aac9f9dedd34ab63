// Prints a directory tree, sorted, with the sizes of its files.
//
//     walk DIRECTORY

#include <kelDirectory.h>
#include <kelFileInfo.h>

#include <algorithm>
#include <cstdio>

namespace {

zuString Below(zuString directory, const zuString& name) {
    return directory.append("/").append(name);
}

void Walk(const zuString& directory, int depth) {
    zuStlVector<zuString> names = kelDirectory::GetFileNames(directory);
    std::sort(names.begin(), names.end());
    for (const zuString& name : names) {
        const kelFileInfo info(Below(directory, name));
        if (info.GetType() == kelFileInfo::Directory) {
            std::printf("%*s%s/\n", 2 * depth, "", name.c_str());
            Walk(info.GetFilePath(), depth + 1);
        } else {
            std::printf("%*s%s  %d bytes\n", 2 * depth, "", name.c_str(), info.GetSize());
        }
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: walk DIRECTORY\n");
        return 2;
    }
    Walk(arguments[1], 0);
    return 0;
}
