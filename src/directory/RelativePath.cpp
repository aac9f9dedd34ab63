#include "directory/RelativePath.h"

#include <algorithm>
#include <string_view>

#include "zubase/AsciiCase.h"

namespace zukel {

namespace {

using Components = zuStlVector<std::string_view>;

/// The components between separators, including empty ones; a trailing separator adds none.
Components SplitBySeparator(std::string_view text) {
    Components pieces;
    while (!text.empty()) {
        const std::size_t stop = std::min(text.find('/'), text.size());
        pieces.push_back(text.substr(0, stop));
        text.remove_prefix(std::min(stop + 1, text.size()));
    }
    return pieces;
}

/// Resolves `.` and `..` in place.
Components ReduceComponents(Components pieces) {
    std::size_t kept = 0;
    for (const std::string_view piece : pieces) {
        if (piece == "..") {
            kept -= kept > 0 ? 1 : 0;
        } else if (piece != ".") {
            pieces[kept++] = piece;
        }
    }
    pieces.resize(kept);
    return pieces;
}

}  // namespace

void FoldCase(zuString& name) noexcept {
    for (char& byte : name) {
        byte = byte == '\\' ? '/' : ToLowerAscii(byte);
    }
}

zuString RelativePathBetween(const zuString& from, const zuString& to) {
    if (from == to) {
        return "./";
    }
    const Components source = ReduceComponents(SplitBySeparator(from));
    const Components target = ReduceComponents(SplitBySeparator(to));
    if (source.empty() || target.empty()) {
        return {};
    }
    if (source.front() != target.front()) {
        return to;
    }
    const auto [up, down] =
        std::mismatch(source.begin(), source.end(), target.begin(), target.end());
    zuString way;
    way.reserve(2 + 3 * static_cast<std::size_t>(source.end() - up) + to.size() + 1);
    way.append("./");
    std::for_each(up, source.end(), [&](std::string_view) { way.append("../"); });
    std::for_each(down, target.end(),
                  [&](std::string_view name) { way.append(name).push_back('/'); });
    return way;
}

}  // namespace zukel
