#pragma once

#include <apr_errno.h>

#include <cstdint>
#include <memory>

/// What the platform provides for shared memory. Plain functions, chosen at link
/// time: one folder below this one implements each of them. Those that return a status return 0 or
/// the reason.
namespace zukel::platform {

/// A segment that this process holds, in the platform's own form. It identifies the segment even
/// after `UnmapSegment`, when its name may be a later one's.
struct Segment;

/// Unmaps the segment if it is mapped, and releases what else is held of it. Its name stays.
void ReleaseSegment(Segment* segment) noexcept;

struct ReleaseHeldSegment {
    void operator()(Segment* segment) const noexcept { ReleaseSegment(segment); }
};
/// Holds a segment, or none.
using SegmentHandle = std::unique_ptr<Segment, ReleaseHeldSegment>;

/// The memory that its holders use.
struct SegmentBlock {
    void* address = nullptr;
    std::uint64_t size = 0;  ///< In bytes, as its creator asked for.
};

/// Makes a segment of exactly `size` bytes under a name that is not in use, and maps it. Windows: a
/// file that only its creator may open, with an unnamed mapping. Linux: APR's names and layout, but
/// not its calls, which reserve no memory, wrap near 2^64 and leave names behind; see there.
///
/// @param name not empty.
/// @param segment receives the segment; unchanged on failure, and then no name was made.
/// @param block receives its memory; unchanged on failure.
apr_status_t CreateSegment(std::uint64_t size, const char* name, SegmentHandle& segment,
                           SegmentBlock& block) noexcept;

/// Maps the segment `name`. Windows: a file whose header says what its size is, and which only the
/// process's user, the system and its administrators own or may write.
///
/// @param name not empty.
/// @param segment receives the segment; unchanged on failure: there is none, or it is incomplete.
/// Linux: also when it belongs neither to the effective user nor to root, or when its group or
/// others may write it.
/// @param block receives its memory; unchanged on failure.
apr_status_t AttachSegment(const char* name, SegmentHandle& segment, SegmentBlock& block) noexcept;

/// Unmaps a segment that is mapped. On failure it stays mapped.
apr_status_t UnmapSegment(Segment& segment) noexcept;

/// Removes whatever segment has this name. Linux: under the same lock as `RemoveSegmentName`.
/// Windows: a mapped file cannot be removed; it is renamed to `NAME.NUMBER.zukel-removed`, and
/// removed by its last user.
///
/// @param name not empty.
apr_status_t RemoveName(const char* name) noexcept;

/// Removes the name of a segment that this process has or had mapped. A name that by now belongs to
/// another segment, or to none, is left alone and counts as removed. Linux: even if the other
/// segment is created at the same moment.
apr_status_t RemoveSegmentName(const char* name, const Segment& segment) noexcept;

}  // namespace zukel::platform
