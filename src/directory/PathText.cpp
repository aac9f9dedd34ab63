#include "directory/PathText.h"

#include <string_view>

namespace zukel {

namespace {

/// What stands in front of the components and is never removed.
struct Prefix {
    std::string_view text;
    std::size_t rest;  ///< Where the components begin in the path.
};

Prefix FindPrefix(std::string_view path) noexcept {
    if (path.size() >= 2 && path[1] == ':') {
        return {path.substr(0, 2), 2};
    }
    if (path.size() >= 2 && path[0] == '/' && path[1] == '/') {
        return {path.substr(0, 1), 2};
    }
    return {{}, 0};
}

}  // namespace

bool IsRelative(const zuString& path) noexcept {
    return !path.empty() && path[0] != '/' && path[0] != '\\' && path.find(':') == zuString::npos;
}

zuString CanonicalPath(const zuString& path) {
    zuString result;
    if (path.empty()) {
        return result;
    }
    const std::string_view text(path);
    const Prefix prefix = FindPrefix(text);
    result.reserve(text.size() + 1);  // a relative path gains its root, nothing else grows
    result.append(prefix.text);
    for (std::size_t at = prefix.rest; at < text.size();) {
        std::size_t stop = at;
        while (stop < text.size() && text[stop] != '/') {
            ++stop;  // components are short: a search by memchr costs more than it saves
        }
        const std::string_view component = text.substr(at, stop - at);
        if (component == "..") {
            if (result.size() > prefix.text.size()) {
                result.resize(result.rfind('/'));
            }
        } else if (!component.empty() && component != ".") {
            result.push_back('/');
            result.append(component);
        }
        at = stop + 1;
    }
    if (result.empty()) {
        result.push_back('/');
    }
    return result;
}

}  // namespace zukel
