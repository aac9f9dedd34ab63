#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Parsing of /proc and cgroup files, as functions of their text.
namespace zukel::platform {

/// The number that the text begins with, or `kUnknown` when it begins with none ("max") or with one
/// that does not fit.
std::uint64_t NumberAt(std::string_view text) noexcept;

/// The number in the line that begins with `name` and a colon or a space, times `unit`, or
/// `kUnknown`. For `/proc/meminfo` (`unit` 1024) and `memory.stat` (1).
std::uint64_t FieldOf(std::string_view text, std::string_view name, std::uint64_t unit) noexcept;

/// Which version of cgroup counts memory.
enum class CgroupVersion { V1, V2 };

/// The path of the process's group in the hierarchy of this version that may count memory, from
/// `/proc/self/cgroup`; nothing when there is no such hierarchy. Empty for the root, and for a
/// group outside of what the process can see.
std::optional<std::string_view> CgroupPathOf(std::string_view text, CgroupVersion version) noexcept;

/// What is left of the whole without the part: nothing when the part is larger, unknown when one of
/// the two is.
std::uint64_t Remaining(std::uint64_t whole, std::uint64_t part) noexcept;

struct PhysicalMemory {
    std::uint64_t total;
    std::uint64_t available;
    bool limited;  ///< By a control group.
};

/// Takes the limit of one group into account; those of all groups above hold as well. `reclaimable`
/// is what of `used` the system would give up when the group needs it. Without `used` nobody knows
/// what is available.
void ApplyLimit(PhysicalMemory& memory, std::uint64_t limit, std::uint64_t used,
                std::uint64_t reclaimable) noexcept;

}  // namespace zukel::platform
