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

/// Removes the name if it is still that of the file.
///
/// @returns 0 or the reason: ENOENT for a name that stands for another file or for none, EBUSY when
/// somebody else who removes it has stopped on the way.
///
/// Two processes that remove the name of one segment at the same time must not remove that of a new
/// segment, created in between. So each holds a lock on the segment's file from the check of the
/// name to its removal.
apr_status_t RemoveNameOf(const Descriptor& file, const SegmentPath& path) noexcept;

/// Opens the file of a segment, to remove its name.
Descriptor OpenToRemove(const SegmentPath& path) noexcept;

}  // namespace zukel::platform
