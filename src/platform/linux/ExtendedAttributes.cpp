#include "platform/linux/ExtendedAttributes.h"

#include <linux/limits.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "platform/linux/CopyRules.h"

namespace zukel::platform {

bool HasExtendedAttributes(int file) noexcept {
    return flistxattr(file, nullptr, 0) != 0;
}

bool CopyExtendedAttributes(int from, int to) noexcept {
    const std::unique_ptr<char[]> names(new (std::nothrow) char[XATTR_LIST_MAX]);
    const std::unique_ptr<char[]> value(new (std::nothrow) char[XATTR_SIZE_MAX]);
    if (!names || !value) {
        errno = ENOMEM;
        return false;
    }
    const ssize_t size = flistxattr(from, names.get(), XATTR_LIST_MAX);
    if (size < 0) {
        return IsRefusal(errno);
    }
    for (const char* name = names.get(); name < names.get() + size; name += std::strlen(name) + 1) {
        const ssize_t length = fgetxattr(from, name, value.get(), XATTR_SIZE_MAX);
        const bool copied = length >= 0 && fsetxattr(to, name, value.get(),
                                                     static_cast<std::size_t>(length), 0) == 0;
        if (!copied && !IsRefusal(errno)) {
            return false;
        }
    }
    return true;
}

}  // namespace zukel::platform
