#include "file/NameParts.h"

namespace zukel {

NameParts TakeApart(std::string_view name) noexcept {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t dot = kNone;
    std::size_t start = kNone;  // of the file name
    // Backwards to the last slash: no dot before it counts for anything.
    for (std::size_t at = name.size(); at-- > 0;) {
        const char byte = name[at];
        const bool slash = byte == '/' || byte == '\\';
        if (byte == '.' && dot == kNone) {
            dot = at;
        } else if ((slash || byte == ':') && start == kNone) {
            start = at + 1;
        }
        if (slash) {
            break;
        }
    }
    start = start == kNone ? 0 : start;

    NameParts parts;
    parts.path = name.substr(0, start);
    parts.fileName = name.substr(start);
    parts.baseName = parts.fileName;
    if (dot != kNone) {
        if (dot > start) {
            parts.baseName = name.substr(start, dot - start);
        }
        parts.extension = name.substr(dot + 1);
    }
    return parts;
}

}  // namespace zukel
