#pragma once

#include "frame/SharedRecord.h"
#include "platform/Processes.h"
#include "platform/SharedSegments.h"
#include "zuString.h"

/// The state of the objects that share a record: Empty, Owner, Attached or, once `ended`, Ended.
/// Sharers keep an ended record until they are destroyed.
struct kelSharedMemoryRecord : zukel::SharedRecord {
    zuString name;  ///< As given; empty while no segment is held, and once the name is removed.
    zukel::platform::SegmentHandle segment;
    zukel::platform::SegmentBlock block;  ///< Its memory; of none once it is unmapped.
    int creator = -1;                     ///< The process that created the segment.
    bool attached = false;                ///< The segment came from `Attach`.
    bool ended = false;

    /// Ends the record. In a forked copy of the creator the name stays: the creator still holds the
    /// segment.
    ~kelSharedMemoryRecord() {
        if (Owns() && creator != zukel::platform::CurrentProcess()) {
            name.clear();
        }
        End();
    }

    bool Holds() const noexcept { return block.address != nullptr; }
    bool Owns() const noexcept { return Holds() && !attached; }

    /// Takes away the segment's name, once: somebody may make a new segment under it.
    ///
    /// @returns 0 when the name is gone, or the reason.
    apr_status_t RemoveName() noexcept {
        apr_status_t status = APR_SUCCESS;
        if (!name.empty()) {
            status = zukel::platform::RemoveSegmentName(name.c_str(), *segment);
        }
        if (status == APR_SUCCESS) {
            name.clear();
        }
        return status;
    }

    apr_status_t Unmap() noexcept {
        const apr_status_t status = zukel::platform::UnmapSegment(*segment);
        if (status == APR_SUCCESS) {
            block = {};
            attached = false;
        }
        return status;
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
        segment.reset();
        block = {};
        attached = false;
        ended = true;
    }
};
