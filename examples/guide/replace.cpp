// Replaces the contents of a file so that nobody ever sees half of them.
//
//     replace FILE TEXT

#include <kelFile.h>
#include <kelStatus.h>

#include <cstdio>

namespace {

bool WriteAll(const zuString& name, const char* text) {
    kelFile file(name, kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeTruncate);
    return file.WriteLine(text) == kelStatusOk && file.Close() == kelStatusOk;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: replace FILE TEXT\n");
        return 2;
    }
    const zuString name = arguments[1];
    const zuString fresh = name + ".new";
    if (!WriteAll(fresh, arguments[2]) || kelFile::Rename(fresh, name) != kelStatusOk) {
        kelFile::Delete(fresh);
        std::fprintf(stderr, "replace: %s is as it was\n", name.c_str());
        return 1;
    }
    return 0;
}
