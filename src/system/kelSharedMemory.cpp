#include "kelSharedMemory.h"

#include <utility>

#include "kelStatus.h"
#include "system/kelSharedMemoryRecord.h"

namespace {

/// The system would take a name up to its first NUL, and the empty one as well.
bool IsName(const zuString& name) noexcept {
    return !name.empty() && name.find('\0') == zuString::npos;
}

int StatusOf(bool succeeded) noexcept {
    return succeeded ? kelStatusOk : kelStatusFailed;
}

bool RemoveByName(const zuString& name) noexcept {
    return IsName(name) && zukel::platform::RemoveName(name.c_str());
}

}  // namespace

kelSharedMemory::kelSharedMemory() : record_(new kelSharedMemoryRecord) {}

kelSharedMemory::kelSharedMemory(kelLibrary*) : kelSharedMemory() {}

kelSharedMemory::kelSharedMemory(const kelSharedMemory& other)
    : record_(zukel::Share(other.record_)) {}

kelSharedMemory::~kelSharedMemory() {
    zukel::Release(record_);
}

kelSharedMemory& kelSharedMemory::operator=(const kelSharedMemory& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelSharedMemory::Create(unsigned long long size, const zuString& name) {
    if (!IsValid()) {
        return kelStatusFailed;
    }
    if (record_->Holds()) {
        return kelStatusOk;
    }
    zuString kept(name);  // before anything is made: memory may run out here
    if (!IsName(name) || !zukel::platform::CreateSegment(size, kept.c_str(), record_->segment)) {
        return kelStatusFailed;
    }
    record_->name = std::move(kept);
    record_->creator = zukel::platform::CurrentProcess();
    return kelStatusOk;
}

int kelSharedMemory::Attach(const zuString& name) {
    if (!IsValid()) {
        return kelStatusFailed;
    }
    if (record_->Holds()) {
        return StatusOf(record_->attached);
    }
    zuString kept(name);
    if (!IsName(name) || !zukel::platform::AttachSegment(kept.c_str(), record_->segment)) {
        return kelStatusFailed;
    }
    record_->name = std::move(kept);
    record_->attached = true;
    return kelStatusOk;
}

int kelSharedMemory::Detach() {
    if (!IsValid()) {
        return kelStatusFailed;
    }
    const bool detached = record_->attached && record_->Unmap();
    record_->End();
    return StatusOf(detached);
}

int kelSharedMemory::Destroy() {
    if (!IsValid()) {
        return kelStatusFailed;
    }
    record_->RemoveName();
    const bool destroyed = record_->Owns() && record_->Unmap() && record_->RemoveName();
    record_->End();
    return StatusOf(destroyed);
}

int kelSharedMemory::Remove(const zuString& name) {
    if (!IsValid()) {
        return StatusOf(RemoveByName(name));
    }
    const bool removed = RemoveByName(name);
    if (removed && name == record_->name) {
        record_->name.clear();
    }
    record_->End();
    return StatusOf(removed);
}

void* kelSharedMemory::GetBaseAddress() const {
    return record_->segment.address;
}

unsigned long long kelSharedMemory::GetSize() const {
    return record_->segment.size;
}

bool kelSharedMemory::IsValid() const {
    return !record_->ended;
}
