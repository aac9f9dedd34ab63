#include "platform/windows/CommandLine.h"

#include <cstring>

namespace zukel::platform {

namespace {

/// What the runtime takes for white space.
constexpr char kSpace[] = " \t\n\v\f\r";

std::string Escape(const char* argument) {
    std::string text;
    std::size_t backslashes = 0;
    for (; *argument != '\0'; ++argument) {
        if (*argument == '"') {
            text.append(backslashes + 1, '\\');  // those before it count double
        }
        backslashes = *argument == '\\' ? backslashes + 1 : 0;
        text.push_back(*argument);
    }
    if (text.find_first_of(kSpace) != std::string::npos) {
        text.append(backslashes, '\\');  // before the mark that the runtime adds
    }
    return text;
}

}  // namespace

bool IsProgramName(const char* name) noexcept {
    const std::size_t length = std::strlen(name);
    const char* const mark = std::strchr(name, '"');
    const bool quoted =
        mark == name && length > 2 && std::strchr(name + 1, '"') == name + length - 1;
    return length != 0 && (mark == nullptr || quoted);
}

CommandLine::CommandLine(const char* const* arguments) {
    for (const char* const* at = arguments; *at != nullptr; ++at) {
        texts_.push_back(at == arguments ? *at : Escape(*at));
    }
    for (const std::string& text : texts_) {
        pointers_.push_back(text.c_str());
    }
    pointers_.push_back(nullptr);
}

}  // namespace zukel::platform
