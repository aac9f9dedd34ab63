#include "kelSharedMemory.h"

#include <utility>

#include "frame/StatusMapping.h"
#include "system/kelSharedMemoryRecord.h"

namespace {

/// The system would read a name up to its first NUL, and accept the empty one.
bool IsName(const zuString& name) noexcept {
    return !name.empty() && name.find('\0') == zuString::npos;
}

int RemoveByName(const zuString& name) noexcept {
    return zukel::MapStatus(IsName(name) ? zukel::platform::RemoveName(name.c_str()) : APR_ENOENT);
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
        return zukel::Fail(APR_EBADF);
    }
    if (record_->Holds()) {
        return kelStatusOk;
    }
    zuString kept(name);  // before anything is made: memory may run out here
    if (!IsName(name)) {
        return zukel::Fail(APR_EINVAL);
    }
    const apr_status_t status =
        zukel::platform::CreateSegment(size, kept.c_str(), record_->segment, record_->block);
    if (status != APR_SUCCESS) {
        return zukel::Fail(status);
    }
    record_->name = std::move(kept);
    record_->creator = zukel::platform::CurrentProcess();
    return kelStatusOk;
}

int kelSharedMemory::Attach(const zuString& name) {
    if (!IsValid()) {
        return zukel::Fail(APR_EBADF);
    }
    if (record_->Holds()) {
        return record_->attached ? kelStatusOk : zukel::Fail(APR_EINVAL);
    }
    zuString kept(name);
    if (!IsName(name)) {
        return zukel::Fail(APR_ENOENT);
    }
    const apr_status_t status =
        zukel::platform::AttachSegment(kept.c_str(), record_->segment, record_->block);
    if (status != APR_SUCCESS) {
        return zukel::Fail(status);
    }
    record_->name = std::move(kept);
    record_->attached = true;
    return kelStatusOk;
}

int kelSharedMemory::Detach() {
    if (!IsValid()) {
        return zukel::Fail(APR_EBADF);
    }
    const apr_status_t status = record_->attached ? record_->Unmap() : APR_EINVAL;
    record_->End();
    return zukel::MapStatus(status);
}

int kelSharedMemory::Destroy() {
    if (!IsValid()) {
        return zukel::Fail(APR_EBADF);
    }
    record_->RemoveName();
    apr_status_t status = record_->Owns() ? record_->Unmap() : APR_EINVAL;
    if (status == APR_SUCCESS) {
        status = record_->RemoveName();
    }
    record_->End();
    return zukel::MapStatus(status);
}

int kelSharedMemory::Remove(const zuString& name) {
    const int status = RemoveByName(name);
    if (!IsValid()) {
        return status;
    }
    if (status == kelStatusOk && name == record_->name) {
        record_->name.clear();
    }
    record_->End();
    return status;
}

void* kelSharedMemory::GetBaseAddress() const {
    return record_->block.address;
}

unsigned long long kelSharedMemory::GetSize() const {
    return record_->block.size;
}

bool kelSharedMemory::IsValid() const {
    return !record_->ended;
}
