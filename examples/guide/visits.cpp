// Counts its own runs in a file that any number of copies of it may use at once.
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
    file.Read(visits);  // fails in a new file, and leaves the 0
    ++visits;
    if (file.SeekToBegin() != kelStatusOk || file.Write(visits) != kelStatusOk) {
        std::fprintf(stderr, "visits: not counted\n");
        return 1;
    }
    std::printf("visit number %d\n", visits);
    return file.Close() == kelStatusOk ? 0 : 1;  // ends the lock
}
