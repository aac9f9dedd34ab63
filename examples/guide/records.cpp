// Stores measurements in a file as typed values, and reads one of them by its number.

#include <kelFile.h>
#include <kelStatus.h>

#include <cstdio>

namespace {

constexpr long long kRecordSize = 4 + 8;  // an int and a double, as stored in the file

int WriteRecords(kelFile& file, int count) {
    for (int number = 0; number < count; ++number) {
        if (file.Write(number) != kelStatusOk || file.Write(20.0 + 0.25 * number) != kelStatusOk) {
            return kelStatusFailed;
        }
    }
    return file.Flush();
}

}  // namespace

int main() {
    kelFile file("measured.dat", kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate |
                                     kelFile::ModeTruncate | kelFile::ModeBuffered);
    if (WriteRecords(file, 1000) != kelStatusOk) {
        std::fprintf(stderr, "records: the file could not be written\n");
        return 1;
    }
    int number = 0;
    double degrees = 0;
    if (file.SeekTo(10 * kRecordSize) != kelStatusOk || file.Read(number) != kelStatusOk ||
        file.Read(degrees) != kelStatusOk) {
        return 1;
    }
    std::printf("record %d: %.2f degrees\n", number, degrees);
    return file.Close() == kelStatusOk ? 0 : 1;
}
