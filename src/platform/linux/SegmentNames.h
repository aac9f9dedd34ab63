#pragma once

#include <sys/types.h>

#include "platform/linux/Descriptor.h"

struct stat;

/// The names of segments in the system's shared memory.
namespace zukel::platform {

/// The path of a named segment in APR's layout: two hashes of the name.
class SegmentPath {
public:
    explicit SegmentPath(const char* name) noexcept;
    const char* Text() const noexcept { return text_; }

private:
    static constexpr char kFolder[] = "/dev/shm";
    char text_[sizeof kFolder + 24];
};

/// Whether segments in such a file may be trusted: it belongs to the caller or to root, and nobody
/// else may write it.
bool IsTrusted(const struct stat& facts) noexcept;

/// Removes the name of the file if it still stands for it.
///
/// @returns 0 or the reason: ENOENT for a name that stands for another file or for none, EBUSY when
/// somebody else who removes it has stopped on the way.
///
/// Two who remove the name of one segment at the same time must not remove that of a new segment,
/// made between the two. So each of them holds a lock on the segment's file from the look at the
/// name to the removal.
apr_status_t RemoveNameOf(const Descriptor& file, const SegmentPath& path) noexcept;

/// Opens the file of a segment, to remove its name.
Descriptor OpenToRemove(const SegmentPath& path) noexcept;

}  // namespace zukel::platform
