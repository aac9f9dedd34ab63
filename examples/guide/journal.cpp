// Appends a line to a journal, and reports success once the line is on the disk.
//
//     journal FILE TEXT

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

namespace {

bool Append(const zuString& name, const zuString& line) {
    kelFile file(name, kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeAppend);
    return file.WriteLine(line.c_str()) == kelStatusOk && file.Sync() == kelStatusOk;
}

/// A new file survives a power cut only if its directory is synced too.
bool SyncDirectoryOf(const zuString& name) {
    const zuString directory = kelFileInfo(name).GetPath();
    return kelDirectory::Sync(directory.empty() ? "." : directory) == kelStatusOk;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: journal FILE TEXT\n");
        return 2;
    }
    const zuString name = arguments[1];
    if (!Append(name, zuString(arguments[2]).append("\n")) || !SyncDirectoryOf(name)) {
        std::fprintf(stderr, "journal: %s\n", kelLibrary::GetErrorText().c_str());
        return 1;
    }
    std::printf("safe\n");
    return 0;
}
