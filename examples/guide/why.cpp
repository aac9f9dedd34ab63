// Opens a file, and prints the reason of a failure.
//
//     why FILE

#include <kelFile.h>
#include <kelLibrary.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    kelFile file;
    const int status = file.Open(count > 1 ? arguments[1] : "", kelFile::ModeRead);
    std::printf("%s\n", kelLibrary::GetStatusText(status));
    if (status != kelStatusOk) {
        std::printf("the system says: %d, %s\n", kelLibrary::GetErrorNumber(),
                    kelLibrary::GetErrorText().c_str());
    }
    return 0;
}
