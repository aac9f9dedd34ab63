#pragma once

#include "frame/SharedRecord.h"
#include "platform/Processes.h"
#include "platform/SharedSegments.h"
#include "zuString.h"

/// The state of the objects that share a record: Empty, Owner, Attached or, once `ended`, Ended.
/// Sharers keep an ended record until they are destroyed.
struct kelSharedMemoryRecord : zukel::SharedRecord {
    zuString name;  ///< As given; empty while no segment is held, and once the name is removed.
    zukel::platform::Segment segment;
    int creator = -1;       ///< The process that created the segment.
    bool attached = false;  ///< The segment came from `Attach`.
    bool ended = false;

    /// Ends the record. In a forked copy of the creator the name stays: the creator still holds the
    /// segment.
    ~kelSharedMemoryRecord() {
        if (Owns() && creator != zukel::platform::CurrentProcess()) {
            name.clear();
        }
        End();
    }

    bool Holds() const noexcept { return segment.address != nullptr; }
    bool Owns() const noexcept { return Holds() && !attached; }

    /// Removes the segment's name, once: somebody may create a new segment under it. True if the
    /// name is gone.
    bool RemoveName() noexcept {
        if (!name.empty() && zukel::platform::RemoveSegmentName(name.c_str(), segment)) {
            name.clear();
        }
        return name.empty();
    }

    bool Unmap() noexcept {
        const bool unmapped = zukel::platform::UnmapSegment(segment);
        attached = attached && !unmapped;
        return unmapped;
    }

    /// Releases what is held, and ends the record. The name of a segment that is still attached
    /// stays.
    void End() noexcept {
        if (ended) {
            return;
        }
        if (!attached) {
            RemoveName();
        }
        if (Holds()) {
            Unmap();
        }
        zukel::platform::ReleaseSegment(segment);
        segment = {};
        attached = false;
        ended = true;
    }
};
