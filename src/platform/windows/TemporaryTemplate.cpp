#define _CRT_RAND_S  // for rand_s

#include "platform/windows/TemporaryTemplate.h"

#include <cstdlib>
#include <cstring>

namespace zukel::platform {

TemporaryTemplate::TemporaryTemplate(char* name, std::size_t most) noexcept
    : marks_(name + std::strlen(name)) {
    while (length_ != most && marks_ != name && marks_[-1] == 'X') {
        --marks_;
        ++length_;
    }
}

bool TemporaryTemplate::FillIn() noexcept {
    // No capital letters: names are case-insensitive.
    constexpr char kSigns[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int kTries = 100;
    for (std::size_t at = 0; at < length_; ++at) {
        unsigned number = 0;
        if (rand_s(&number) != 0) {
            return false;
        }
        marks_[at] = kSigns[number % (sizeof kSigns - 1)];
    }
    return ++tried_ <= kTries;
}

}  // namespace zukel::platform
