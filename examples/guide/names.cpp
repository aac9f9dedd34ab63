// Creates a file with a non-ASCII name, lists it, and splits names into their parts.

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

int main() {
    kelLibrary library;
    kelDirectory::Create("letters", kelFileInfo::PermissionDefault, true);
    kelFile file("letters/Grüße aus 東京.txt", kelFile::ModeWrite | kelFile::ModeCreate);
    if (file.Close() != kelStatusOk) {
        return 1;
    }
    for (const zuString& name : kelDirectory::GetFileNames("letters")) {
        const kelFileInfo info("letters/" + name);
        std::printf("%s | %s | %s\n", info.GetPath().c_str(), info.GetBaseName().c_str(),
                    info.GetFileExtension().c_str());
    }

    library.SetEnvironmentVariable("PROJECT", "/srv/project");
    for (const char* name : {"$PROJECT\\data\\in.txt", "plugins/$PLATFORM/filter", "a$PROJECT"}) {
        std::printf("%-26s %s\n", name, kelLibrary::GetAbsoluteFileName(name).c_str());
    }
    std::printf("%-26s %s\n", "filter", kelLibrary::GetAbsoluteLibraryName("filter").c_str());
    return 0;
}
