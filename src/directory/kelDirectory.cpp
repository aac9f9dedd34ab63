#include "kelDirectory.h"

#include <cstring>
#include <limits>
#include <utility>

#include "directory/kelDirectoryRecord.h"
#include "frame/StatusMapping.h"

namespace {

int OpenRecord(kelDirectoryRecord& record, const zuString& name) {
    if (record.open) {
        return kelStatusOk;
    }
    if (!record.pool) {
        return kelStatusFailed;
    }
    zuString kept(name);  // before the handle exists: memory may run out here
    apr_dir_t* dir = nullptr;
    if (apr_dir_open(&dir, kept.c_str(), record.pool.Get()) != APR_SUCCESS) {
        return kelStatusFailed;
    }
    record.dir = dir;
    record.open = true;
    record.name = std::move(kept);
    return kelStatusOk;
}

/// Reads the next entry; false at the end and after an error. The name is good until the pool goes,
/// and stays what it was when the runtime delivers an entry without one.
bool NextEntry(kelDirectoryRecord& record, const char*& name) noexcept {
    apr_finfo_t info = {};
    if (record.dir == nullptr || apr_dir_read(&info, APR_FINFO_NAME, record.dir) != APR_SUCCESS) {
        return false;
    }
    const char* const found = info.name != nullptr ? info.name : info.fname;
    name = found != nullptr ? found : name;
    return true;
}

bool Rewind(kelDirectoryRecord& record) noexcept {
    return record.dir != nullptr && apr_dir_rewind(record.dir) == APR_SUCCESS;
}

int ReadEntry(kelDirectoryRecord& record, zuString& name) {
    const char* entry = nullptr;
    if (!NextEntry(record, entry)) {
        return kelStatusReadFailed;
    }
    if (entry != nullptr) {
        name.assign(entry);
    }
    return kelStatusOk;
}

zuStlVector<zuString> ListNames(kelDirectoryRecord& record) {
    zuStlVector<zuString> names;
    if (!Rewind(record)) {
        return names;
    }
    for (const char* entry = ""; NextEntry(record, entry);) {
        if (std::strcmp(entry, ".") != 0 && std::strcmp(entry, "..") != 0) {
            names.emplace_back(entry);
        }
    }
    return names;
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
    return OpenRecord(*record_, name);
}

int kelDirectory::Close() {
    if (!record_->open) {
        return kelStatusNotOpen;
    }
    // The runtime gives the handle up even when the close fails: it must not be touched again.
    apr_dir_t* const dir = std::exchange(record_->dir, nullptr);
    if (dir == nullptr || apr_dir_close(dir) != APR_SUCCESS) {
        return kelStatusFailed;
    }
    record_->open = false;
    return kelStatusOk;
}

int kelDirectory::ReadFirst(zuString& name) {
    return Rewind(*record_) ? ReadEntry(*record_, name) : kelStatusNotOpen;
}

int kelDirectory::ReadNext(zuString& name) {
    return record_->open ? ReadEntry(*record_, name) : kelStatusNotOpen;
}

zuString kelDirectory::GetName() const {
    return record_->name;
}

zuStlVector<zuString> kelDirectory::GetFileNames() {
    return ListNames(*record_);
}

int kelDirectory::GetNumberOfFiles() {
    if (!Rewind(*record_)) {
        return 0;
    }
    long long entries = 0;
    for (const char* entry = ""; NextEntry(*record_, entry);) {
        ++entries;
    }
    constexpr long long kMost = std::numeric_limits<int>::max();
    return entries < 2 ? 0 : static_cast<int>(entries - 2 < kMost ? entries - 2 : kMost);
}

zuStlVector<zuString> kelDirectory::GetFileNames(const zuString& name) {
    kelDirectoryRecord scratch;
    OpenRecord(scratch, name);
    return ListNames(scratch);
}
