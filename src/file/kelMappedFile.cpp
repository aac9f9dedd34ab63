#include "kelMappedFile.h"

#include <apr_file_io.h>

#include <memory>
#include <utility>

#include "file/kelMappedFileRecord.h"
#include "frame/BlockSize.h"
#include "frame/Names.h"
#include "frame/OpenStatus.h"
#include "platform/FileExtents.h"

namespace platform = zukel::platform;

namespace {

kelMappedFileRecord* ShareIfAny(kelMappedFileRecord* record) noexcept {
    return record != nullptr ? zukel::Share(record) : nullptr;
}

void ReleaseIfAny(kelMappedFileRecord* record) noexcept {
    if (record != nullptr) {
        zukel::Release(record);
    }
}

/// A part of a file.
struct Part {
    long long offset;
    unsigned long long length;
    bool toTheEnd;  ///< `length` is ignored.
};

/// Maps the part into the record, which must be empty.
apr_status_t Map(const zuString& name, const Part& part, kelMappedFileRecord& record) noexcept {
    const int mode = APR_FOPEN_READ | (record.writes ? APR_FOPEN_WRITE : 0);
    platform::FileHandle file;
    long long end = 0;
    apr_status_t status =
        zukel::IsWhole(name) ? platform::OpenFileByName(name.c_str(), mode, file) : APR_ENOENT;
    if (status == APR_SUCCESS) {
        status = platform::QueryLength(file, end);
    }
    if (status != APR_SUCCESS) {
        return status;
    }
    if (part.offset < 0 || part.offset > end) {
        return APR_EINVAL;
    }
    const auto rest = static_cast<unsigned long long>(end - part.offset);
    const unsigned long long length = part.toTheEnd ? rest : part.length;
    if (length > rest) {
        return APR_EINVAL;
    }
    const std::size_t size = zukel::BlockSize(length);
    if (size != length) {
        return APR_ENOMEM;
    }
    return size == 0
               ? APR_SUCCESS
               : platform::MapFile(std::move(file), record.writes, part.offset, size, record.view);
}

int Open(const zuString& name, bool writes, const Part& part, kelMappedFileRecord*& held) {
    if (name.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    auto record = std::make_unique<kelMappedFileRecord>();
    record->writes = writes;
    const int status = zukel::MapOpenStatus(Map(name, part, *record));
    if (status == kelStatusOk) {
        ReleaseIfAny(std::exchange(held, record.release()));
    }
    return status;
}

}  // namespace

kelMappedFile::kelMappedFile() : record_(nullptr) {}

kelMappedFile::kelMappedFile(const kelMappedFile& other) : record_(ShareIfAny(other.record_)) {}

kelMappedFile::~kelMappedFile() {
    ReleaseIfAny(record_);
}

kelMappedFile& kelMappedFile::operator=(const kelMappedFile& other) {
    ReleaseIfAny(std::exchange(record_, ShareIfAny(other.record_)));
    return *this;
}

int kelMappedFile::Open(const zuString& name, AccessMode access) {
    return ::Open(name, access == ReadWrite, {0, 0, true}, record_);
}

int kelMappedFile::Open(const zuString& name, AccessMode access, long long offset,
                        unsigned long long length) {
    return ::Open(name, access == ReadWrite, {offset, length, false}, record_);
}

int kelMappedFile::Close() {
    if (record_ == nullptr) {
        return zukel::Fail(APR_EBADF);
    }
    zukel::Release(std::exchange(record_, nullptr));
    return kelStatusOk;
}

bool kelMappedFile::IsOpen() const {
    return record_ != nullptr;
}

void* kelMappedFile::GetAddress() const {
    return record_ != nullptr ? record_->view.address : nullptr;
}

unsigned long long kelMappedFile::GetSize() const {
    return record_ != nullptr ? record_->view.size : 0;
}

int kelMappedFile::Sync() {
    if (record_ == nullptr) {
        return zukel::Fail(APR_EBADF);
    }
    const bool changed = record_->writes && record_->view.address != nullptr;
    return changed ? zukel::MapStatus(platform::SyncView(record_->view)) : kelStatusOk;
}
