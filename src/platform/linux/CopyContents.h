#pragma once

#include <sys/stat.h>

#include <memory>

#include "platform/linux/Descriptor.h"

namespace zukel::platform {

/// The contents of one open file on their way into another. The first block is read before the
/// target need be touched: some files (/proc/self/mem) open but cannot be read. A small file is
/// then completely in memory.
class Contents {
public:
    /// @param from a file, a device or a pipe, of which nothing has been read.
    /// @param source what `fstat` reports of it. Both are first used by the operations.
    Contents(const Descriptor& from, const struct stat& source) noexcept
        : from_(from), source_(source) {}

    /// Reads the first block. @returns false with `errno` when it cannot be read.
    bool ReadFirst() noexcept;

    /// Whether a single write of at most a page is needed, and covers a target of `targetSize`
    /// bytes. Such a target need not be truncated first: if the process is killed it has the former
    /// contents or the new ones.
    bool CoversInOneWrite(off_t targetSize) const noexcept;

    /// Writes everything to the open file `to`: as a clone where the file system shares blocks,
    /// otherwise by the kernel or through memory. Holes of a regular file stay holes of a regular
    /// target. Requires: `ReadFirst` has succeeded; a regular target is empty, or is covered in one
    /// write.
    ///
    /// @param regular whether the target is a regular file.
    /// @returns false with `errno` when reading or writing failed; a part may have been written.
    bool WriteTo(int to, bool regular) noexcept;

private:
    bool WriteRegular(int to) noexcept;

    const Descriptor& from_;
    const struct stat& source_;
    std::unique_ptr<char[]> first_;
    std::size_t firstSize_ = 0;
    bool whole_ = false;  ///< The first block is the whole file.
};

/// Both steps at once, into an empty regular file.
inline bool CopyContents(const Descriptor& from, int to, const struct stat& source) noexcept {
    Contents contents(from, source);
    return contents.ReadFirst() && contents.WriteTo(to, true);
}

}  // namespace zukel::platform
