#include "kelFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "file/ShortName.h"
#include "file/kelFileRecord.h"
#include "frame/StatusMapping.h"
#include "platform/Files.h"

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

int MapOpenStatus(apr_status_t status) noexcept {
    if (APR_STATUS_IS_ENOENT(status)) {
        return kelStatusNotFound;
    }
    if (APR_STATUS_IS_EACCES(status)) {
        return kelStatusAccessDenied;
    }
    return zukel::MapStatus(status);
}

apr_status_t OpenByName(kelFileRecord& record, const char* name, int mode) noexcept {
    apr_file_t* file = nullptr;
    apr_status_t status = apr_file_open(&file, name, mode, APR_FPROT_OS_DEFAULT, record.pool.Get());
    if (status != APR_SUCCESS) {
        return status;
    }
    if ((mode & APR_FOPEN_NOCLEANUP) != 0 && !zukel::platform::CloseInChildren(file)) {
        apr_file_close(file);
        return APR_EGENERAL;
    }
    record.file = file;
    record.writable = (mode & APR_FOPEN_WRITE) != 0;
    record.bufferSize = (mode & APR_FOPEN_BUFFERED) != 0 ? apr_file_buffer_size_get(file) : 0;
    return APR_SUCCESS;
}

/// Of what the runtime takes for a template without them, Windows would make one name over and
/// over.
bool EndsInSixX(const char* name, std::size_t length) noexcept {
    constexpr std::size_t kSix = 6;
    return length >= kSix && std::strcmp(name + length - kSix, "XXXXXX") == 0;
}

/// Puts the current directory before a relative template, which is not empty. The runtime removes a
/// temporary file by the name it was made under, so a relative one would miss it, or hit another
/// file, once the current directory has changed.
apr_status_t MakeAbsolute(const char* name, apr_pool_t* pool, zuString& absolute) {
    const char* root = nullptr;
    const char* rest = name;
    absolute.clear();
    if (apr_filepath_root(&root, &rest, 0, pool) == APR_ERELATIVE) {
        char* directory = nullptr;
        const apr_status_t status = apr_filepath_get(&directory, 0, pool);
        if (status != APR_SUCCESS) {
            return status;
        }
        absolute.append(directory).push_back('/');
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
    zuString kept(name);  // before anything changes: memory may run out here
    record_->Reset();
    if (!record_->pool) {
        record_->status = APR_ENOPOOL;
        return kelStatusFailed;
    }
    zuString shortName;
    const bool shortened =
        zukel::platform::MultibyteCodePage() == 0 && zukel::FindShortName(name, shortName);
    record_->status = OpenByName(*record_, shortened ? shortName.c_str() : kept.c_str(), mode);
    if (record_->status == APR_SUCCESS) {
        record_->name = std::move(kept);
    }
    return MapOpenStatus(record_->status);
}

int kelFile::Close() {
    if (record_->file == nullptr) {
        return kelStatusFailed;
    }
    record_->status = apr_file_close(std::exchange(record_->file, nullptr));
    return zukel::MapStatus(record_->status);
}

bool kelFile::IsOpen() const {
    return record_->file != nullptr;
}

zuString kelFile::GetFileName() const {
    return record_->name;
}

int kelFile::CreateTemporaryFile(const zuString& nameTemplate) {
    std::array<char, 128> buffer{};
    const std::size_t length = std::min(std::strlen(nameTemplate.c_str()), buffer.size() - 1);
    std::memcpy(buffer.data(), nameTemplate.c_str(), length);
    zuString name;
    name.reserve(length);  // from here to the end nothing but `absolute` needs memory

    record_->Reset();
    if (!record_->pool) {
        record_->status = APR_ENOPOOL;
        return kelStatusFailed;
    }
    if (!EndsInSixX(buffer.data(), length)) {
        record_->status = APR_EINVAL;
        return kelStatusFailed;
    }
    zuString absolute;
    record_->status = MakeAbsolute(buffer.data(), record_->pool.Get(), absolute);
    if (record_->status == APR_SUCCESS) {
        record_->status = apr_file_mktemp(&record_->file, absolute.data(), 0, record_->pool.Get());
    }
    if (record_->status != APR_SUCCESS) {
        record_->file = nullptr;
        return APR_STATUS_IS_EACCES(record_->status) ? kelStatusAccessDenied : kelStatusFailed;
    }
    name.assign(absolute, absolute.size() - length, length);
    record_->name = std::move(name);
    return kelStatusOk;
}
