#include "kelSharedMemory.h"

#include <utility>

#include "frame/StatusMapping.h"
#include "system/kelSharedMemoryRecord.h"

namespace {

/// The system would read a name up to its first NUL, and accept the empty one.
bool IsName(const zuString& name) noexcept {
    return !name.empty() && name.find('\0') == zuString::npos;
}

int StatusOf(bool succeeded) noexcept {
    return succeeded ? kelStatusOk : zukel::FailAsToldBySystem();
}

int RemoveByName(const zuString& name) noexcept {
    return IsName(name) ? StatusOf(zukel::platform::RemoveName(name.c_str()))
                        : zukel::Fail(APR_ENOENT);
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
    if (!zukel::platform::CreateSegment(size, kept.c_str(), record_->segment)) {
        return zukel::FailAsToldBySystem();
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
    if (!zukel::platform::AttachSegment(kept.c_str(), record_->segment)) {
        return zukel::FailAsToldBySystem();
    }
    record_->name = std::move(kept);
    record_->attached = true;
    return kelStatusOk;
}

int kelSharedMemory::Detach() {
    if (!IsValid()) {
        return zukel::Fail(APR_EBADF);
    }
    const int status = record_->attached ? StatusOf(record_->Unmap()) : zukel::Fail(APR_EINVAL);
    record_->End();
    return status;
}

int kelSharedMemory::Destroy() {
    if (!IsValid()) {
        return zukel::Fail(APR_EBADF);
    }
    record_->RemoveName();
    const int status = record_->Owns() ? StatusOf(record_->Unmap() && record_->RemoveName())
                                       : zukel::Fail(APR_EINVAL);
    record_->End();
    return status;
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
    return record_->segment.address;
}

unsigned long long kelSharedMemory::GetSize() const {
    return record_->segment.size;
}

bool kelSharedMemory::IsValid() const {
    return !record_->ended;
}
