#pragma once

#include <string>
#include <vector>

/// The pure work on names and the texts of a time, an open file, and the operations on a tree, each
/// beside a second implementation that is written another way: plain and slow. What generated tests
/// and the fuzz targets have in common.
namespace zukel::fuzz {

/// @name Checks
/// Each gives an empty text when library and oracle agree on the input, else what they answered.
/// @{
std::string CheckNormalizedPath(const std::string& path);
std::string CheckNameParts(const std::string& name);
/// The wide form, and the bytes that it is made of; valid UTF-8 as the C library has it.
std::string CheckWideName(const std::string& name);
/// The user directory is `<~>`, or missing when the name has an odd length; a variable has a value,
/// full of what would be expanded once more, unless its name begins with a U.
std::string CheckExpansion(const std::string& name);
/// From the text before the first `|` to the text behind it.
std::string CheckRelativePath(const std::string& texts);
/// The first byte says where the date comes from, as many as that needs are the date, and the rest
/// is the pattern. The oracle is the C library, in a zone with a summer.
std::string CheckTimePattern(const std::string& bytes);
/// The first bytes say how a file is opened and what it holds, and the rest are operations on it.
/// The oracle is a text with a position.
std::string CheckOpenFile(const std::string& bytes);
/// Every three bytes are an operation with two names of a small tree, in which links and hard links
/// come to be. The oracle is the C++ library, in a tree of its own.
std::string CheckTree(const std::string& bytes);
/// @}

/// A text of up to 16 words from an alphabet that is hostile to all of these.
template <typename Random>
std::string HostileName(Random& random) {
    static const std::vector<std::string> words = {"/",
                                                   "/",
                                                   "\\",
                                                   ".",
                                                   "..",
                                                   "...",
                                                   ":",
                                                   "~",
                                                   "$",
                                                   "a",
                                                   "A",
                                                   "b",
                                                   "|",
                                                   "//",
                                                   "c:",
                                                   "$PLATFORM",
                                                   "$PLATFORMS",
                                                   "\x80",
                                                   "\xff",
                                                   "U",
                                                   std::string(1, '\0'),
                                                   "\u00e4",
                                                   "\u20ac",
                                                   "\U0001f600",
                                                   "\ufffd",
                                                   "\xed\xa0\x80",
                                                   "\xf0\x9f"};
    std::string name;
    for (auto count = random() % 17; count > 0; --count) {
        name += words[random() % words.size()];
    }
    return name;
}

}  // namespace zukel::fuzz
