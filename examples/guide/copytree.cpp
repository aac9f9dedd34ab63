// Copies a directory tree. Entries that are neither a file nor a directory are reported and
// skipped.
//
//     copytree FROM TO

#include <kelDirectory.h>
#include <kelFile.h>
#include <kelFileInfo.h>
#include <kelStatus.h>

#include <cstdio>

namespace {

zuString Below(zuString directory, const zuString& name) {
    return directory.append("/").append(name);
}

bool Report(const zuString& name, const char* what) {
    std::fprintf(stderr, "copytree: %s: %s\n", name.c_str(), what);
    return false;
}

bool CopyTree(const zuString& from, const zuString& to) {
    kelDirectory open;
    if (open.Open(from) != kelStatusOk) {
        return Report(from, "cannot be read");
    }
    if (kelDirectory::Create(to, kelFileInfo::PermissionDefault, true) != kelStatusOk) {
        return Report(to, "cannot be created");
    }
    bool all = true;
    for (const zuString& name : open.GetFileNames()) {
        const kelFileInfo source(Below(from, name));
        const zuString target = Below(to, name);
        switch (source.GetType()) {
            case kelFileInfo::Directory:
                all = CopyTree(source.GetFilePath(), target) && all;
                break;
            case kelFileInfo::RegularFile:
                if (kelFile::Copy(source.GetFilePath(), target, kelFileInfo::PermissionOfSource) !=
                    kelStatusOk) {
                    all = Report(target, "not copied");
                }
                break;
            default:
                all = Report(source.GetFilePath(), "left out");
        }
    }
    return all;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: copytree FROM TO\n");
        return 2;
    }
    return CopyTree(arguments[1], arguments[2]) ? 0 : 1;
}
