#include "support/NameOracles.h"

#include <sstream>
#include <vector>

#include "directory/PathText.h"
#include "directory/RelativePath.h"

namespace zukel::test {

namespace {

/// The pieces of a text, a trailing separator opening none.
std::vector<std::string> Pieces(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(stream, piece, '/');) {
        pieces.push_back(piece);
    }
    return pieces;
}

/// Follows `pieces` from `place`. Empty ones are levels when `emptyCounts`, else nothing.
std::vector<std::string> Follow(std::vector<std::string> place,
                                const std::vector<std::string>& pieces, bool emptyCounts) {
    for (const std::string& piece : pieces) {
        if (piece == ".." && !place.empty()) {
            place.pop_back();
        } else if (piece != ".." && piece != "." && (emptyCounts || !piece.empty())) {
            place.push_back(piece);
        }
    }
    return place;
}

std::string Canonical(const std::string& path) {
    const bool drive = path.size() > 1 && path[1] == ':', network = path.substr(0, 2) == "//";
    std::string result = drive ? path.substr(0, 2) : network ? "/" : "";
    for (const auto& piece : Follow({}, Pieces(drive || network ? path.substr(2) : path), false)) {
        result += "/" + piece;
    }
    return result.empty() && !path.empty() ? "/" : result;
}

/// The way itself when it is a right one: whoever follows it from the first place is at the second,
/// and never goes up and down through one and the same component.
std::string Way(const std::string& from, const std::string& to, const std::string& way) {
    const auto source = Follow({}, Pieces(from), true), target = Follow({}, Pieces(to), true);
    if (from == to || source.empty() || target.empty() || source[0] != target[0]) {
        return from == to ? "./" : source.empty() || target.empty() ? "" : to;
    }
    std::size_t common = 0;
    while (common < source.size() && common < target.size() && source[common] == target[common]) {
        ++common;
    }
    const bool right = way.substr(0, 2) == "./" && way.back() == '/' &&
                       Pieces(way).size() == 1 + source.size() + target.size() - 2 * common &&
                       Follow(source, Pieces(way), true) == target;
    return right ? way : "a shortest way that leads there";
}

}  // namespace

std::string CheckNames(const std::string& input) {
    const std::string from = input.substr(0, input.find('|'));
    const std::string to = input.substr(input.find('|') + 1);  // all of it when there is no bar
    const std::string way = WayBetween(from, to);
    for (const auto& [actual, expected] :
         {std::pair(CanonicalPath(input), Canonical(input)), {way, Way(from, to, way)}}) {
        if (actual != expected) {
            return "[" + input + "] gives [" + actual + "], not [" + expected + "]";
        }
    }
    return "";
}

}  // namespace zukel::test
