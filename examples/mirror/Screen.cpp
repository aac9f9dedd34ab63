#include "Screen.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <io.h>
static bool IsTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}
#else
#include <unistd.h>
static bool IsTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}
#endif

zuString Shown(const zuString& name) {
    zuString text;
    for (const char byte : name) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x20 || value == 0x7F) {
            char octal[8];
            std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned>(value));
            text += octal;
        } else {
            text += byte;
        }
    }
    return text;
}

Screen::Screen(Talk talk) : talk_(talk), bar_(talk != Talk::Quiet && IsTerminal()) {}

void Screen::Did(const char* what, const zuString& name) {
    if (talk_ == Talk::Verbose || (talk_ == Talk::Normal && !bar_)) {
        Clear();
        std::printf("%s %s\n", what, Shown(name).c_str());
    }
}

void Screen::Problem(const char* what, const zuString& name) {
    Clear();
    std::fflush(stdout);
    std::fprintf(stderr, "mirror: %s: %s\n", Shown(name).c_str(), what);
}

void Screen::Progress(unsigned long long done, unsigned long long all) {
    const auto now = std::chrono::steady_clock::now();
    if (!bar_ || (drawn_ && now - last_ < std::chrono::milliseconds(100))) {
        return;
    }
    constexpr unsigned long long kWidth = 40;
    const unsigned long long filled = all == 0 ? kWidth : std::min(kWidth, done * kWidth / all);
    char bar[kWidth + 1] = "";
    std::memset(bar, '.', kWidth);
    std::memset(bar, '#', filled);
    std::printf("\r[%s] %3llu %%", bar, filled * 100 / kWidth);
    std::fflush(stdout);
    drawn_ = true;
    last_ = now;
}

void Screen::Clear() {
    if (drawn_) {
        std::printf("\r%60s\r", "");
        drawn_ = false;
    }
}
