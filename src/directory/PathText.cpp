#include "directory/PathText.h"

#include <algorithm>
#include <string_view>

namespace zukel {

namespace {

/// The prefix of the components, which is never removed.
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

zuString NormalizedPath(const zuString& path) {
    if (path.empty()) {
        return {};
    }
    const Prefix prefix = FindPrefix(path);
    // Only the root of a relative path is added: writing never overtakes reading.
    zuString result;
    result.reserve(path.size() + 1);
    result.push_back('/');
    result.append(path);
    char* const text = result.data();
    const char* const end = text + result.size();
    const char* from = text + 1 + prefix.rest;
    std::copy(prefix.text.begin(), prefix.text.end(), text);
    char* const start = text + prefix.text.size();
    char* to = start;
    for (; from < end; ++from) {
        char* const component = to;
        *to++ = '/';
        while (from < end && *from != '/') {
            *to++ = *from++;
        }
        const std::string_view name(component + 1, static_cast<std::size_t>(to - component) - 1);
        if (name.empty() || name == "." || name == "..") {
            to = component;
        }
        if (name == "..") {
            while (to > start && *--to != '/') {
            }
        }
    }
    if (to == text) {
        *to++ = '/';
    }
    result.resize(static_cast<std::size_t>(to - text));
    return result;
}

}  // namespace zukel
