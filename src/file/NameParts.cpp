#include "file/NameParts.h"

namespace zukel {

NameCuts FindCuts(std::string_view name) noexcept {
    constexpr std::size_t kNone = std::string_view::npos;
    NameCuts cuts;
    std::size_t start = kNone;
    // Backwards to the last slash: dots before it do not count.
    for (std::size_t at = name.size(); at-- > 0;) {
        const char byte = name[at];
        const bool slash = byte == '/' || byte == '\\';
        if (byte == '.' && cuts.dot == kNone) {
            cuts.dot = at;
        } else if ((slash || byte == ':') && start == kNone) {
            start = at + 1;
        }
        if (slash) {
            break;
        }
    }
    cuts.fileName = start == kNone ? 0 : start;
    return cuts;
}

NameParts SplitName(std::string_view name, const NameCuts& cuts) noexcept {
    NameParts parts;
    parts.path = name.substr(0, cuts.fileName);
    parts.fileName = name.substr(cuts.fileName);
    parts.baseName = parts.fileName;
    if (cuts.dot != std::string_view::npos) {
        if (cuts.dot > cuts.fileName) {
            parts.baseName = name.substr(cuts.fileName, cuts.dot - cuts.fileName);
        }
        parts.extension = name.substr(cuts.dot + 1);
    }
    return parts;
}

}  // namespace zukel
