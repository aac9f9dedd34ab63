#pragma once

#include "kelExport.h"
#include "zuString.h"

/// Directories and the text of their paths.
///
/// @code
/// kelDirectory::GetAbsolutePath("/srv/./www/../data/");      // "/srv/data"
/// kelDirectory::GetRelativePath("/usr/lib", "/usr/share");   // "./../share/"
/// @endcode
///
/// Failure: no operation throws but for `std::bad_alloc`.
///
/// Threads: the static operations may be called from any thread at any time.
class KEL_API kelDirectory {
public:
    /// @name Path text
    /// Functions of the bytes alone: nothing is looked up, in the file system or elsewhere, nothing
    /// is expanded (`~` and `$NAME` are ordinary text), and every path is a valid one.
    /// @{

    /// A copy of `path`, byte for byte. Nothing is cleaned: ask `GetAbsolutePath` for that.
    static zuString CleanPath(const zuString& path);

    /// Whether `path` is not empty, begins with neither `/` nor `\` and has no `:` anywhere. So
    /// `a/b:c` is not relative, and `~/a` is.
    static bool IsRelativePath(const zuString& path);

    /// The canonical form of `path`: `.` and `..` worked out, repeated and trailing separators
    /// gone.
    ///
    /// The result is rooted, but it has nothing to do with the current directory: `a/b` gives
    /// `/a/b`. The separator is `/` alone; `\` is an ordinary byte. A path whose second byte is `:`
    /// keeps its first two bytes in front (`C:/a/..` gives `C:`), and one that begins with `//`
    /// keeps both slashes (`//host/share/`, but `//` alone gives `/`). A `..` that has nothing to
    /// remove vanishes. Only the result `/` ends in a separator; only the empty path gives an empty
    /// result.
    ///
    /// The way through a symbolic link is not seen: `link/..` is removed as text.
    static zuString GetAbsolutePath(const zuString& path);
    /// @}

    /// The way from one existing directory to another: `./`, then `../` for each level up, then the
    /// names down, each with a `/` behind it. From `/usr/lib` to `/usr/share` it is `./../share/`,
    /// from a directory to itself `./`.
    ///
    /// Both names are first expanded by `kelLibrary::GetAbsoluteFileName`, then brought to lower
    /// case byte by byte (by the C library's `tolower`) and to `/` as separator; it is these texts
    /// that must name directories, and the result is made of them. So it is in lower case.
    ///
    /// Each text is then taken apart at `/`: a `..` removes the component before it, also the root;
    /// an empty component between two separators counts as a level of its own. When the first
    /// components differ (two drives, or two relative names that start differently) the result is
    /// the whole second text, without `./` in front.
    ///
    /// @returns an empty text when one of the names is not that of a directory, and when one of two
    /// different texts has no component left, such as `.`. A relative name is looked up from the
    /// current directory, but not joined to it.
    ///
    /// Linux: a directory with an upper-case letter in its path is not found, since the text in
    /// lower case is another name. A symbolic link to a directory is no directory, unless a `/`
    /// stands behind its name.
    static zuString GetRelativePath(const zuString& from, const zuString& to);
};
