#pragma once

#include <cstdint>

/// What the platform provides for shared memory. Plain functions, chosen at link
/// time: one folder below this one implements each of them.
namespace zukel::platform {

/// A segment that this process has mapped, or none.
struct Segment {
    void* address = nullptr;  ///< Of the usable block; null while none is mapped.
    std::uint64_t size = 0;   ///< In bytes, as its creator asked for.
    /// The platform's own. Linux: device and inode, which identify the segment even after
    /// `UnmapSegment`, when its name may be a later one's. Windows: its handles, until
    /// `ReleaseSegment`.
    std::uintptr_t identity[2] = {0, 0};
};

/// Makes a segment of exactly `size` bytes under a name that is not in use, and maps it. Windows: a
/// file that only its creator may open, with an unnamed mapping. Linux: APR's names and layout, but
/// not its calls, which reserve no memory, wrap near 2^64 and leave names behind; see there.
///
/// @param name not empty.
/// @returns false, with `segment` unchanged and no name made, when any of it fails.
bool CreateSegment(std::uint64_t size, const char* name, Segment& segment) noexcept;

/// Maps the segment `name`. Windows: a file whose header says what its size is, and which only the
/// process's user, the system and its administrators own or may write.
///
/// @param name not empty.
/// @returns false, with `segment` unchanged and nothing left open, if there is none or it is
/// incomplete. Linux: also when it belongs neither to the effective user nor to root, or when its
/// group or others may write it.
bool AttachSegment(const char* name, Segment& segment) noexcept;

/// Unmaps the segment and clears its address and size.
///
/// @returns false, with `segment` unchanged, when the system refuses.
bool UnmapSegment(Segment& segment) noexcept;

/// Releases what is still held of a segment that has been unmapped, or was never mapped. Linux:
/// nothing.
void ReleaseSegment(Segment& segment) noexcept;

/// Removes whatever segment has this name. Linux: under the same lock as `RemoveSegmentName`.
/// Windows: a mapped file cannot be removed; it is renamed to `NAME.NUMBER.zukel-removed`, and
/// removed by its last user.
///
/// @param name not empty.
bool RemoveName(const char* name) noexcept;

/// Removes the name of a segment that this process has or had mapped. A name that by now belongs to
/// another segment, or to none, is left alone and counts as removed. Linux: even if the other
/// segment is created at the same moment.
///
/// @returns false when the system refuses.
bool RemoveSegmentName(const char* name, const Segment& segment) noexcept;

}  // namespace zukel::platform
