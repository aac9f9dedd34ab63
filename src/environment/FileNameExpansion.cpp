#include "environment/FileNameExpansion.h"

#include <algorithm>
#include <limits>

#include "platform/Environment.h"

namespace zukel {

zuStlVector<zuString> SplitFileName(const zuString& name) {
    zuStlVector<zuString> components;
    std::size_t start = 0;
    for (std::size_t stop = 0; stop != zuString::npos; start = stop + 1) {
        stop = name.find_first_of("/\\", start);
        components.emplace_back(name, start, stop == zuString::npos ? stop : stop - start);
    }
    return components;
}

zuString JoinFileName(const zuStlVector<zuString>& components) {
    if (components.empty()) {
        return {};
    }
    std::size_t size = components.size() - 1;
    for (const zuString& component : components) {
        size += component.size();
    }
    zuString name;
    name.reserve(size);
    name = components.front();
    std::for_each(components.begin() + 1, components.end(), [&](const zuString& component) {
        name.push_back('/');
        name.append(component);
    });
    return name;
}

void ToLongName(zuString& name) {
    if (name.find('~') == zuString::npos) {
        return;
    }
    unsigned size = 256;
    zuStlVector<char> buffer(size);
    unsigned result = platform::LongName(name.c_str(), buffer.data(), size);
    if (result > size) {
        if (result == std::numeric_limits<unsigned>::max()) {
            return;
        }
        size = result + 1;
        buffer.assign(size, '\0');
        result = platform::LongName(name.c_str(), buffer.data(), size);
    }
    // A result that exceeds the buffer means that the name has changed since it was measured.
    if (result != 0 && result < size) {
        name.assign(buffer.data(), result);
    }
}

}  // namespace zukel
