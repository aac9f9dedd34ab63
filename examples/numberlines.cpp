// Copies a text file with its lines numbered, and tells how much it moved and how fast.
//
//     numberlines SOURCE TARGET
//
// Exit code: 0 when all was written, 1 when reading or writing failed, 2 for a wrong call.

#include <kelFile.h>
#include <kelStatus.h>

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

struct Moved {
    unsigned long long lines = 0;
    unsigned long long bytes = 0;  // of the source
};

// A line longer than the buffer comes in pieces; only its first piece gets a number.
bool CopyNumbered(kelFile& source, kelFile& target, Moved& moved) {
    char line[4096];
    bool atLineStart = true;
    while (source.ReadLine(line, sizeof line) == kelStatusOk) {
        const std::size_t length = std::strlen(line);
        if (length == 0) {
            std::fprintf(stderr, "numberlines: a NUL at line %llu: not a text file\n",
                         moved.lines + 1);
            return false;
        }
        if (atLineStart) {
            char number[32];
            std::snprintf(number, sizeof number, "%6llu  ", ++moved.lines);
            if (target.WriteLine(number) != kelStatusOk) {
                return false;
            }
        }
        if (target.WriteLine(line) != kelStatusOk) {
            return false;
        }
        moved.bytes += length;
        atLineStart = line[length - 1] == '\n';
    }
    return source.EndOfFile();
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: numberlines SOURCE TARGET\n");
        return 2;
    }
    kelFile source(arguments[1], kelFile::ModeRead | kelFile::ModeBuffered);
    if (!source.IsOpen()) {
        std::fprintf(stderr, "numberlines: cannot read %s\n", arguments[1]);
        return 1;
    }
    // An existing target is left alone: truncating it would be fatal if it were the source itself.
    kelFile target(arguments[2], kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeExclusive |
                                     kelFile::ModeBuffered);
    if (!target.IsOpen()) {
        std::fprintf(stderr, "numberlines: cannot make %s, or it exists\n", arguments[2]);
        return 1;
    }

    const auto start = std::chrono::steady_clock::now();
    Moved moved;
    const bool copied = CopyNumbered(source, target, moved);
    // The last of the buffer is written by the close, so its status matters.
    if (target.Close() != kelStatusOk || !copied) {
        std::fprintf(stderr, "numberlines: the copy is not complete\n");
        return 1;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("%llu lines, %llu bytes in %.1f ms (%.0f MB/s)\n", moved.lines, moved.bytes,
                took.count() * 1e3, static_cast<double>(moved.bytes) / took.count() / 1e6);
    return 0;
}
