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

/// The whole minus the part: 0 if the part is larger, unknown if one of the two is.
std::uint64_t Remaining(std::uint64_t whole, std::uint64_t part) noexcept;

struct PhysicalMemory {
    std::uint64_t total;
    std::uint64_t available;
    bool limited;  ///< By a cgroup.
};

/// Applies the limit of one group; those of all groups above apply as well. `reclaimable` is the
/// part of `used` that the system can reclaim. Without `used` the available memory is unknown.
void ApplyLimit(PhysicalMemory& memory, std::uint64_t limit, std::uint64_t used,
                std::uint64_t reclaimable) noexcept;

}  // namespace zukel::platform
