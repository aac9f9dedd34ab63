#include "platform/linux/TemporaryName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace zukel::platform {

TemporaryName::~TemporaryName() {
    if (used_) {
        unlinkat(directory_, Get(), 0);
    }
}

template <typename Make>
int TemporaryName::Find(Make make) noexcept {
    constexpr int kAttempts = 1000;
    int result = -1;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        std::snprintf(name_.data(), name_.size(), ".zukel-%x-%llx", static_cast<unsigned>(getpid()),
                      static_cast<unsigned long long>(now.tv_sec) << 30U |
                          static_cast<unsigned long long>(now.tv_nsec));
        result = make(Get());
        if (result >= 0 || errno != EEXIST) {
            break;
        }
    }
    used_ = result >= 0;
    return result;
}

Descriptor TemporaryName::MakeFile() noexcept {
    return Descriptor(Find([this](const char* name) {
        return openat(directory_, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }));
}

bool TemporaryName::MakeLink(const char* text) noexcept {
    return Find([&](const char* name) { return symlinkat(text, directory_, name); }) == 0;
}

bool TemporaryName::TakeOver(const char* name) noexcept {
    return Find([&](const char* own) {
               const int linked = linkat(directory_, name, directory_, own, 0);
               return linked == 0 || errno == EEXIST || errno == ENOENT
                          ? linked
                          : renameat(directory_, name, directory_, own);
           }) == 0;
}

}  // namespace zukel::platform
