// Creates a temporary directory with a file and a link to it, and removes everything.

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

namespace {

int Work(const zuString& folder) {
    if (kelFile::ReplaceWhole(folder + "/release-2", "two\n") != kelStatusOk) {
        return 1;
    }
    // Relative to the directory of the link, so that both may be moved together.
    if (kelFile::CreateSymbolicLink("release-2", folder + "/current") != kelStatusOk) {
        return 1;
    }
    zuString target;
    zuString path;
    if (kelFile::ReadSymbolicLink(folder + "/current", target) != kelStatusOk ||
        kelFile::GetRealPath(folder + "/current", path) != kelStatusOk) {
        return 1;
    }
    std::printf("current leads to %s, the file %s\n", target.c_str(),
                path.substr(path.find_last_of("/\\") + 1).c_str());
    return 0;
}

}  // namespace

int main() {
    zuString folder;
    if (kelDirectory::CreateTemporary(kelLibrary().GetTempDir() + "/scratch-XXXXXX", folder) !=
        kelStatusOk) {
        std::fprintf(stderr, "scratch: %s\n", kelLibrary::GetErrorText().c_str());
        return 1;
    }
    const int code = Work(folder);
    return kelDirectory::DeleteTree(folder) == kelStatusOk ? code : 1;
}
