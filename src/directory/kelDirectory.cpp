#include "kelDirectory.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "directory/kelDirectoryRecord.h"
#include "frame/Names.h"
#include "frame/OpenStatus.h"
#include "frame/StatusMapping.h"

namespace platform = zukel::platform;

namespace {

apr_status_t OpenByName(const zuString& name, platform::DirectoryHandle& stream) noexcept {
    return zukel::IsWhole(name) ? platform::OpenDirectory(name.c_str(), stream) : APR_ENOENT;
}

bool Rewind(kelDirectoryRecord& record) noexcept {
    const apr_status_t status =
        record.stream != nullptr ? platform::RewindDirectory(*record.stream) : APR_EBADF;
    return zukel::MapStatus(status) == kelStatusOk;
}

const char* Next(kelDirectoryRecord& record) noexcept {
    return record.stream != nullptr ? platform::NextEntry(*record.stream) : nullptr;
}

int ReadEntry(kelDirectoryRecord& record, zuString& name) {
    const char* const entry = Next(record);
    if (entry == nullptr) {
        return zukel::Fail(APR_EOF, kelStatusReadFailed);
    }
    name.assign(entry);
    return kelStatusOk;
}

bool IsOwnOrParent(const char* entry) noexcept {
    return entry[0] == '.' && (entry[1] == '\0' || (entry[1] == '.' && entry[2] == '\0'));
}

/// Appends the names of the entries that follow, as far as they can be read.
apr_status_t AppendNames(platform::DirectoryStream& stream, zuStlVector<zuString>& names) {
    const char* entry = nullptr;
    apr_status_t status = platform::ReadEntry(stream, entry);
    for (; entry != nullptr; status = platform::ReadEntry(stream, entry)) {
        if (!IsOwnOrParent(entry)) {
            names.emplace_back(entry);
        }
    }
    return status;
}

}  // namespace

kelDirectory::kelDirectory() : record_(new kelDirectoryRecord) {}

kelDirectory::kelDirectory(kelLibrary*) : kelDirectory() {}

kelDirectory::kelDirectory(const zuString& name) : kelDirectory() {
    Open(name);
}

kelDirectory::kelDirectory(const kelDirectory&) : kelDirectory() {}

kelDirectory::~kelDirectory() {
    zukel::Release(record_);
}

kelDirectory& kelDirectory::operator=(const kelDirectory& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelDirectory::Open(const zuString& name) {
    if (record_->open) {
        return kelStatusOk;
    }
    zuString kept(name);  // before the directory is open: memory may run out here
    const apr_status_t status = OpenByName(kept, record_->stream);
    if (status == APR_SUCCESS) {
        record_->open = true;
        record_->name = std::move(kept);
    }
    return zukel::MapStatus(status);
}

int kelDirectory::Close() {
    if (!record_->open) {
        return zukel::Fail(APR_EBADF, kelStatusNotOpen);
    }
    // The system releases the handle even if the close fails: it must not be used again.
    platform::DirectoryStream* const stream = record_->stream.release();
    const apr_status_t status = stream != nullptr ? platform::CloseDirectory(stream) : APR_EBADF;
    if (status != APR_SUCCESS) {
        return zukel::Fail(status);
    }
    record_->open = false;
    return kelStatusOk;
}

int kelDirectory::ReadFirst(zuString& name) {
    return Rewind(*record_) ? ReadEntry(*record_, name) : kelStatusNotOpen;
}

int kelDirectory::ReadNext(zuString& name) {
    return record_->open ? ReadEntry(*record_, name) : zukel::Fail(APR_EBADF, kelStatusNotOpen);
}

zuString kelDirectory::GetName() const {
    return record_->name;
}

zuStlVector<zuString> kelDirectory::GetFileNames() {
    zuStlVector<zuString> names;
    if (Rewind(*record_)) {
        AppendNames(*record_->stream, names);
    }
    return names;
}

int kelDirectory::GetNumberOfFiles() {
    if (!Rewind(*record_)) {
        return 0;
    }
    long long entries = 0;
    while (Next(*record_) != nullptr) {
        ++entries;
    }
    constexpr long long kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(entries - 2, 0LL, kMost));
}

zuStlVector<zuString> kelDirectory::GetFileNames(const zuString& name) {
    platform::DirectoryHandle stream;
    zuStlVector<zuString> names;
    if (zukel::MapStatus(OpenByName(name, stream)) == kelStatusOk) {
        AppendNames(*stream, names);
    }
    return names;
}

int kelDirectory::GetFileNames(const zuString& name, zuStlVector<zuString>& names) {
    if (name.empty()) {
        return zukel::Fail(APR_EINVAL, kelStatusEmptyPath);
    }
    platform::DirectoryHandle stream;
    const apr_status_t opened = OpenByName(name, stream);
    if (opened != APR_SUCCESS) {
        return zukel::MapOpenStatus(opened);
    }
    zuStlVector<zuString> found;
    if (zukel::MapStatus(AppendNames(*stream, found)) != kelStatusOk) {
        return kelStatusReadFailed;
    }
    names.swap(found);
    return kelStatusOk;
}
