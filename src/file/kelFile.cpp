#include "kelFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "file/ShortName.h"
#include "file/kelFileRecord.h"
#include "frame/Names.h"
#include "frame/OpenStatus.h"
#include "frame/StatusMapping.h"
#include "platform/Directories.h"
#include "platform/Files.h"

namespace platform = zukel::platform;

static_assert(kelFile::ModeRead == APR_FOPEN_READ && kelFile::ModeWrite == APR_FOPEN_WRITE &&
              kelFile::ModeCreate == APR_FOPEN_CREATE && kelFile::ModeAppend == APR_FOPEN_APPEND &&
              kelFile::ModeTruncate == APR_FOPEN_TRUNCATE &&
              kelFile::ModeBinary == APR_FOPEN_BINARY && kelFile::ModeExclusive == APR_FOPEN_EXCL &&
              kelFile::ModeBuffered == APR_FOPEN_BUFFERED &&
              kelFile::ModeDeleteOnClose == APR_FOPEN_DELONCLOSE &&
              kelFile::ModeThreadSafe == APR_FOPEN_XTHREAD &&
              kelFile::ModeShareLock == APR_FOPEN_SHARELOCK &&
              kelFile::ModeNoCleanup == APR_FOPEN_NOCLEANUP &&
              kelFile::ModeSendfile == APR_FOPEN_SENDFILE_ENABLED &&
              kelFile::ModeSparse == APR_FOPEN_SPARSE);

namespace {

constexpr int kTemporaryMode =
    APR_FOPEN_READ | APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_EXCL | APR_FOPEN_DELONCLOSE;

/// Makes a relative template, which is not empty, absolute. A temporary file is removed by its
/// name, and a relative name would miss it, or hit another file, once the current directory has
/// changed.
apr_status_t MakeAbsolute(const char* name, zuString& absolute) {
    absolute.clear();
    if (platform::IsReadFromCurrentDirectory(name)) {
        const apr_status_t status = platform::QueryCurrentDirectory(absolute);
        if (status != APR_SUCCESS) {
            return status;
        }
        absolute.push_back('/');
    }
    absolute += name;
    return APR_SUCCESS;
}

}  // namespace

kelFile::kelFile() : record_(new kelFileRecord) {}

kelFile::kelFile(kelLibrary*) : kelFile() {}

kelFile::kelFile(const zuString& name, int mode) : kelFile() {
    Open(name, mode);
}

kelFile::kelFile(const kelFile&) : kelFile() {}

kelFile::~kelFile() {
    zukel::Release(record_);
}

kelFile& kelFile::operator=(const kelFile& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

int kelFile::Open(const zuString& name, int mode) {
    // Before anything changes: memory may run out here.
    zuString kept(name);
    auto removed = (mode & APR_FOPEN_DELONCLOSE) != 0 ? std::make_unique<zuString>(name) : nullptr;
    record_->Reset();
    if (!zukel::IsWhole(name)) {
        record_->status = APR_ENOENT;
        return zukel::MapOpenStatus(record_->status);
    }
    zuString shortName;
    const bool shortened =
        platform::MultibyteCodePage() == 0 && zukel::FindShortName(name, shortName);
    platform::FileHandle file;
    record_->status =
        platform::OpenFileByName(shortened ? shortName.c_str() : kept.c_str(), mode, file);
    if (record_->status == APR_SUCCESS) {
        record_->stream.Begin(std::move(file), mode, std::move(removed));
        record_->name = std::move(kept);
    }
    return zukel::MapOpenStatus(record_->status);
}

int kelFile::Close() {
    if (!record_->stream.IsOpen()) {
        return zukel::Fail(APR_EBADF);
    }
    record_->status = record_->stream.Close();
    return zukel::MapStatus(record_->status);
}

bool kelFile::IsOpen() const {
    return record_->stream.IsOpen();
}

zuString kelFile::GetFileName() const {
    return record_->name;
}

int kelFile::CreateTemporaryFile(const zuString& nameTemplate) {
    std::array<char, 128> buffer{};
    const std::size_t length = std::min(std::strlen(nameTemplate.c_str()), buffer.size() - 1);
    std::memcpy(buffer.data(), nameTemplate.c_str(), length);
    // Before anything is made: memory may run out here.
    zuString name;
    name.reserve(length);
    auto absolute = std::make_unique<zuString>();

    record_->Reset();
    if (!zukel::IsWhole(nameTemplate) || !zukel::EndsInSixX({buffer.data(), length})) {
        record_->status = APR_EINVAL;
        return zukel::Fail(APR_EINVAL);
    }
    platform::FileHandle file;
    record_->status = MakeAbsolute(buffer.data(), *absolute);
    if (record_->status == APR_SUCCESS) {
        record_->status = platform::MakeTemporaryFile(absolute->data(), file);
    }
    if (record_->status != APR_SUCCESS) {
        const bool denied = APR_STATUS_IS_EACCES(record_->status);
        return zukel::Fail(record_->status, denied ? kelStatusAccessDenied : kelStatusFailed);
    }
    name.assign(*absolute, absolute->size() - length, length);
    record_->name = std::move(name);
    record_->stream.Begin(std::move(file), kTemporaryMode, std::move(absolute));
    return kelStatusOk;
}
