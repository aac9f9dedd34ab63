#include <zukel.h>

#include <cstdio>

int main() {
    kelFile file("lines.txt", kelFile::ModeRead | kelFile::ModeWrite | kelFile::ModeCreate |
                                  kelFile::ModeTruncate | kelFile::ModeBuffered);
    int status = file.WriteLine("a first line\nand a second one\n");
    file.SeekToBegin();
    for (char line[80]; file.ReadLine(line, sizeof line) == kelStatusOk;) {
        std::printf("read: %s", line);
    }
    status = status == kelStatusOk ? file.Close() : status;
    return status == kelStatusOk ? 0 : 1;
}
