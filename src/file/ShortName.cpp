#include "file/ShortName.h"

#include <cstring>
#include <limits>
#include <string>

#include "platform/Files.h"

namespace zukel {

namespace {

bool Widen(const char* name, std::u16string& wide) {
    const std::size_t length = std::strlen(name);
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return false;
    }
    const int bytes = static_cast<int>(length);
    const int units = platform::Utf8ToUtf16(name, bytes, nullptr, 0);
    if (units <= 0 || units > bytes) {
        return false;
    }
    wide.resize(static_cast<std::size_t>(units));
    platform::Utf8ToUtf16(name, bytes, wide.data(), units);
    return true;
}

bool Shorten(const std::u16string& wide, std::u16string& shortPath) {
    const unsigned size = platform::ShortPath(wide.c_str(), nullptr, 0);
    if (size == 0) {
        return false;
    }
    shortPath.resize(size);
    const unsigned length = platform::ShortPath(wide.c_str(), shortPath.data(), size);
    // A result that exceeds the buffer means that the path has changed since it was measured.
    if (length == 0 || length > size) {
        return false;
    }
    shortPath.resize(length);
    return true;
}

}  // namespace

bool FindShortName(const zuString& name, zuString& shortName) noexcept {
    try {
        std::u16string wide;
        std::u16string shortPath;
        if (!Widen(name.c_str(), wide) || !Shorten(wide, shortPath)) {
            return false;
        }
        shortName.clear();
        shortName.reserve(shortPath.size());
        for (const char16_t unit : shortPath) {
            shortName.push_back(static_cast<char>(unit & 0xFFU));
        }
        return true;
    } catch (...) {  // no memory for one of the texts
        return false;
    }
}

}  // namespace zukel
