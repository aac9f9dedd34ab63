// Counts its own runs in a file. Any number of copies may run at once.
//
//     visits FILE

#include <kelFile.h>
#include <kelStatus.h>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: visits FILE\n");
        return 2;
    }
    constexpr long long kFiveSeconds = 5000000;
    kelFile file(arguments[1], kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate);
    if (file.Lock(kelFile::LockExclusive, kFiveSeconds) != kelStatusOk) {
        std::fprintf(stderr, "visits: not opened, or held by others for too long\n");
        return 1;
    }
    int visits = 0;
    file.Read(visits);  // fails if the file is new, and leaves the 0
    ++visits;
    if (file.SeekToBegin() != kelStatusOk || file.Write(visits) != kelStatusOk) {
        std::fprintf(stderr, "visits: not counted\n");
        return 1;
    }
    std::printf("visit number %d\n", visits);
    return file.Close() == kelStatusOk ? 0 : 1;  // releases the lock
}
