// Counts how often a text occurs in a file, which may be larger than the memory of the machine.
//
//     map FILE TEXT

#include <kelLibrary.h>
#include <kelMappedFile.h>
#include <kelStatus.h>

#include <cstdio>
#include <string_view>

int main(int count, char** arguments) {
    if (count != 3 || *arguments[2] == '\0') {
        std::fprintf(stderr, "usage: map FILE TEXT\n");
        return 2;
    }
    kelMappedFile file;
    if (file.Open(arguments[1], kelMappedFile::ReadOnly) != kelStatusOk) {
        std::fprintf(stderr, "map: %s: %s\n", arguments[1], kelLibrary::GetErrorText().c_str());
        return 1;
    }
    const std::string_view contents(static_cast<const char*>(file.GetAddress()), file.GetSize());
    const std::string_view text = arguments[2];
    long long found = 0;
    for (std::size_t at = contents.find(text); at != std::string_view::npos;
         at = contents.find(text, at + text.size())) {
        ++found;
    }
    std::printf("%lld in %llu bytes\n", found, file.GetSize());
    return 0;
}
