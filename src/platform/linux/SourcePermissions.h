#pragma once

#include <sys/stat.h>

#include <memory>

namespace zukel::platform {

/// The permissions that a copy takes from its source: the mode and, where there is one, the POSIX
/// access list. The mode of a file with a list has the list's mask where others have the bits of
/// the group.
class SourcePermissions {
public:
    static constexpr mode_t kUnknown = ~mode_t{0};

    /// @param source what `fstat` reports of the source, when there is something to do.
    explicit SourcePermissions(const struct stat& source) noexcept : source_(source) {}

    /// Reads the access list of the source. @returns false with `errno` when that failed.
    bool Read(int source) noexcept;

    /// Gives the open file `copy` the permissions, without set-ID and sticky bits, and takes away a
    /// list that it has from its directory. Where the list cannot be had, the mode leaves out what
    /// the list alone allowed. A file of somebody else's, and a volume that keeps no permissions,
    /// stay as they are.
    ///
    /// @param present the mode that `copy` has, if it is known.
    /// @returns false with `errno` when that failed for another reason, such as a full volume.
    bool GiveTo(int copy, mode_t present = kUnknown) noexcept;

    /// Gives `copy` the set-ID and sticky bits as well, after `GiveTo` and the last write, which
    /// takes them away. A program that runs as its owner (group) does so as a copy only when the
    /// copy has that owner (group) too: otherwise it would run as whoever copied it.
    bool GiveSpecialBitsTo(int copy) const noexcept;

private:
    mode_t ModeWithoutList() const noexcept;

    const struct stat& source_;
    std::unique_ptr<char[]> list_;
    std::size_t size_ = 0;  ///< 0: the mode is all.
    mode_t given_ = 0;
};

}  // namespace zukel::platform
