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

    /// @param source the result of `fstat` for the source, valid when an operation is called.
    explicit SourcePermissions(const struct stat& source) noexcept : source_(source) {}

    /// Reads the access list of the source. @returns false with `errno` when that failed.
    bool Read(int source) noexcept;

    /// Sets the permissions of the open file `copy`, without set-ID and sticky bits, and removes a
    /// list that it has inherited from its directory. If the source's list cannot be copied, the
    /// mode leaves out what the list alone allowed. A file of another user, or on a file system
    /// without permissions, stays as it is.
    ///
    /// @param present the mode that `copy` has, if it is known.
    /// @returns false with `errno` when that failed for another reason, such as a full file system.
    bool GiveTo(int copy, mode_t present = kUnknown) noexcept;

    /// Sets the set-ID and sticky bits of `copy`, after `GiveTo` and the last write, which clears
    /// them. A set-user-ID (set-group-ID) bit is copied only if the copy has the same owner
    /// (group): otherwise the program would run as whoever copied it.
    bool GiveSpecialBitsTo(int copy) const noexcept;

private:
    mode_t ModeWithoutList() const noexcept;

    const struct stat& source_;
    std::unique_ptr<char[]> list_;
    std::size_t size_ = 0;  ///< 0: there is only the mode.
    mode_t given_ = 0;
};

}  // namespace zukel::platform
