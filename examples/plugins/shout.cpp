// A plug-in for pluginhost: the text in capitals, for those at the back.

#include <cstring>

#include "plugin.h"

PLUGIN_EXPORT const char* Describe() {
    return "puts text in capitals (ASCII only)";
}

PLUGIN_EXPORT std::size_t Transform(const char* text, char* buffer, std::size_t size) {
    const std::size_t needed = std::strlen(text) + 1;
    for (std::size_t at = 0; needed <= size && at < needed; ++at) {
        const char character = text[at];
        buffer[at] = character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                          : character;
    }
    return needed;
}
