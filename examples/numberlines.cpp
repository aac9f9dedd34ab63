// Copies a text file with its lines numbered, and prints how much it copied and how fast.
//
//     numberlines SOURCE TARGET
//
// Exit code: 0 if everything was written, 1 if a read or write failed, 2 for wrong arguments.

#include <kelFile.h>
#include <kelStatus.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

struct Moved {
    unsigned long long lines = 0;
    unsigned long long bytes = 0;  // of the source
};

bool Write(kelFile& target, const char* bytes, unsigned long long size) {
    const unsigned long long wanted = size;
    return target.Write(bytes, size) == kelStatusOk && size == wanted;
}

// Reads blocks, not lines: a line may have any length and contain NULs.
bool CopyNumbered(kelFile& source, kelFile& target, Moved& moved) {
    char block[4096];
    bool atLineStart = true;
    unsigned long long size = sizeof block;
    for (; source.Read(block, size) == kelStatusOk; size = sizeof block) {
        const char* const end = block + size;
        for (const char* at = block; at != end;) {
            if (atLineStart) {
                char number[32];
                std::snprintf(number, sizeof number, "%6llu  ", ++moved.lines);
                if (!Write(target, number, std::strlen(number))) {
                    return false;
                }
            }
            const char* const feed = std::find(at, end, '\n');
            atLineStart = feed != end;
            const char* const next = atLineStart ? feed + 1 : end;
            if (!Write(target, at, static_cast<unsigned long long>(next - at))) {
                return false;
            }
            at = next;
        }
        moved.bytes += size;
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
    // Refuses an existing target: truncating it would destroy the source if both are one file.
    kelFile target(arguments[2], kelFile::ModeWrite | kelFile::ModeCreate | kelFile::ModeExclusive |
                                     kelFile::ModeBuffered);
    if (!target.IsOpen()) {
        std::fprintf(stderr, "numberlines: cannot make %s, or it exists\n", arguments[2]);
        return 1;
    }

    const auto start = std::chrono::steady_clock::now();
    Moved moved;
    const bool copied = CopyNumbered(source, target, moved);
    // Close writes the rest of the buffer, so its status matters.
    if (target.Close() != kelStatusOk || !copied) {
        kelFile::Delete(arguments[2]);  // created above
        std::fprintf(stderr, "numberlines: %s cannot be copied whole; nothing is left of it\n",
                     arguments[1]);
        return 1;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("%llu lines, %llu bytes in %.1f ms (%.0f MB/s)\n", moved.lines, moved.bytes,
                took.count() * 1e3, static_cast<double>(moved.bytes) / took.count() / 1e6);
    return 0;
}
