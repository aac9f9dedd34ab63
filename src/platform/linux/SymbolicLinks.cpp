#include "platform/SymbolicLinks.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

apr_status_t MakeSymbolicLink(const char* target, const char* name) {
    return symlinkat(target, AT_FDCWD, name) == 0 ? APR_SUCCESS : errno;
}

apr_status_t ReadSymbolicLink(const char* name, zuString& target) {
    zuString text(256, '\0');
    for (;;) {
        const ssize_t length = readlink(name, text.data(), text.size());
        if (length < 0) {
            return errno;
        }
        const auto read = static_cast<std::size_t>(length);
        if (read < text.size()) {  // a full buffer may hold only a part of it
            text.resize(read);
            target = std::move(text);
            return APR_SUCCESS;
        }
        text.resize(2 * text.size());
    }
}

apr_status_t QueryRealPath(const char* name, zuString& path) {
    const Uncancelled uncancelled;
    const std::unique_ptr<char, decltype(&free)> found(realpath(name, nullptr), &free);
    if (!found) {
        return errno;
    }
    path.assign(found.get());
    return APR_SUCCESS;
}

}  // namespace zukel::platform
