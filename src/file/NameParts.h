#pragma once

#include <string_view>

namespace zukel {

/// The parts of a file name, as views into it. They depend on the text alone; that a directory has
/// no extension is up to the caller.
struct NameParts {
    std::string_view path;      ///< Up to and including the last `/`, `\` or `:`.
    std::string_view fileName;  ///< The rest.
    std::string_view baseName;  ///< The file name up to a dot that is not its first byte.
    std::string_view
        extension;  ///< After the last dot after the last `/` or `\`; `:` does not separate.
};

/// Where a name is split.
struct NameCuts {
    std::size_t fileName = 0;                  ///< The start of the file name.
    std::size_t dot = std::string_view::npos;  ///< The last dot after the last `/` or `\`, if any.
};

NameCuts FindCuts(std::string_view name) noexcept;
NameParts SplitName(std::string_view name, const NameCuts& cuts) noexcept;

}  // namespace zukel
