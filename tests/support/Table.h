#pragma once

#include <array>
#include <sstream>
#include <string>
#include <vector>

namespace zukel::test {

/// Like cases, written as a table: `text` holds the cells, `kColumns` for each case, parted by
/// white space and taken as they stand; `_` stands for an empty one.
template <std::size_t kColumns>
std::vector<std::array<std::string, kColumns>> Table(const std::string& text) {
    std::vector<std::array<std::string, kColumns>> rows;
    std::istringstream stream(text);
    std::size_t cells = 0;
    for (std::string cell; stream >> cell; ++cells) {
        if (cells % kColumns == 0) {
            rows.emplace_back();
        }
        rows.back()[cells % kColumns] = cell == "_" ? "" : cell;
    }
    return rows;
}

}  // namespace zukel::test
