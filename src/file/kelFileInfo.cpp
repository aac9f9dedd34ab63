#include "kelFileInfo.h"

#include <cstdint>

#include "file/kelFileInfoRecord.h"
#include "kelStatus.h"
#include "platform/FileFacts.h"

static_assert(kelFileInfo::PermissionOwnerRead == APR_FPROT_UREAD &&
              kelFileInfo::PermissionOwnerWrite == APR_FPROT_UWRITE &&
              kelFileInfo::PermissionOwnerExecute == APR_FPROT_UEXECUTE &&
              kelFileInfo::PermissionGroupRead == APR_FPROT_GREAD &&
              kelFileInfo::PermissionGroupWrite == APR_FPROT_GWRITE &&
              kelFileInfo::PermissionGroupExecute == APR_FPROT_GEXECUTE &&
              kelFileInfo::PermissionOthersRead == APR_FPROT_WREAD &&
              kelFileInfo::PermissionOthersWrite == APR_FPROT_WWRITE &&
              kelFileInfo::PermissionOthersExecute == APR_FPROT_WEXECUTE &&
              kelFileInfo::PermissionSetUser == APR_FPROT_USETID &&
              kelFileInfo::PermissionSetGroup == APR_FPROT_GSETID &&
              kelFileInfo::PermissionSticky == APR_FPROT_WSTICKY &&
              kelFileInfo::PermissionDefault == APR_FPROT_OS_DEFAULT &&
              kelFileInfo::PermissionOfSource == APR_FPROT_FILE_SOURCE_PERMS);

namespace {

/// Makes the lazy query unless an earlier one has left something, and gives what there is: null
/// when nothing could be learnt.
apr_finfo_t* Facts(kelFileInfoRecord& record) noexcept {
    if (record.info) {
        return &*record.info;
    }
    apr_status_t status = APR_ENOPOOL;
    if (record.pool) {
        constexpr apr_int32_t kWanted = APR_FINFO_MIN | APR_FINFO_OWNER | APR_FINFO_NAME;
        apr_finfo_t& info = record.info.emplace();
        status =
            zukel::platform::QueryFile(info, record.filePath.c_str(), kWanted, record.pool.Get());
    }
    record.status = status == APR_SUCCESS ? kelStatusOk : kelStatusNoFileInfo;
    if (status != APR_SUCCESS && status != APR_INCOMPLETE) {
        record.info.reset();
        return nullptr;
    }
    return &*record.info;
}

/// The facts, if the field that the bit stands for is among them; else null.
const apr_finfo_t* FactsWith(kelFileInfoRecord& record, apr_int32_t bit) noexcept {
    const apr_finfo_t* const info = Facts(record);
    return info != nullptr && (info->valid & bit) != 0 ? info : nullptr;
}

kelFileInfo::FileType MapType(apr_filetype_e type) noexcept {
    switch (type) {
        case APR_NOFILE:
            return kelFileInfo::NoFile;
        case APR_REG:
            return kelFileInfo::RegularFile;
        case APR_DIR:
            return kelFileInfo::Directory;
        case APR_PIPE:
            return kelFileInfo::Pipe;
        case APR_LNK:
            return kelFileInfo::Link;
        case APR_SOCK:
            return kelFileInfo::Socket;
        default:
            return kelFileInfo::OtherFile;
    }
}

const zukel::NameParts& Parts(kelFileInfoRecord& record) noexcept {
    if (!record.parts) {
        record.parts = zukel::TakeApart(record.filePath);
    }
    return *record.parts;
}

}  // namespace

kelFileInfo::kelFileInfo(const zuString& name) : record_(new kelFileInfoRecord(name)) {}

kelFileInfo::kelFileInfo(kelLibrary*, const zuString& name) : kelFileInfo(name) {}

kelFileInfo::kelFileInfo(const kelFileInfo& other) : kelFileInfo(other.record_->filePath) {}

kelFileInfo::~kelFileInfo() {
    zukel::Release(record_);
}

kelFileInfo& kelFileInfo::operator=(const kelFileInfo& other) {
    zukel::Assign(record_, other.record_);
    return *this;
}

void kelFileInfo::SetLibrary(kelLibrary*) {}

zuString kelFileInfo::GetFilePath() const {
    return record_->filePath;
}

zuString kelFileInfo::GetPath() const {
    return zuString(Parts(*record_).path);
}

zuString kelFileInfo::GetFileName() const {
    return zuString(Parts(*record_).fileName);
}

zuString kelFileInfo::GetBaseName() const {
    return zuString(Parts(*record_).baseName);
}

zuString kelFileInfo::GetFileExtension() const {
    if (record_->filePath.empty() || GetType() == Directory) {
        return {};
    }
    return zuString(Parts(*record_).extension);
}

kelFileInfo::FileType kelFileInfo::GetType() const {
    const apr_finfo_t* const info = FactsWith(*record_, APR_FINFO_TYPE);
    return info != nullptr ? MapType(info->filetype) : NoFile;
}

int kelFileInfo::GetSize() const {
    const apr_finfo_t* const info = FactsWith(*record_, APR_FINFO_SIZE);
    return info != nullptr ? static_cast<int>(static_cast<std::uint32_t>(info->size)) : -1;
}

long long kelFileInfo::GetCreationTime() const {
    const apr_finfo_t* const info = FactsWith(*record_, APR_FINFO_CTIME);
    return info != nullptr ? info->ctime : -1;
}

long long kelFileInfo::GetLastAccessTime() const {
    const apr_finfo_t* const info = FactsWith(*record_, APR_FINFO_ATIME);
    return info != nullptr ? info->atime : -1;
}

long long kelFileInfo::GetLastModifiedTime() const {
    const apr_finfo_t* const info = FactsWith(*record_, APR_FINFO_MTIME);
    return info != nullptr ? info->mtime : -1;
}

int kelFileInfo::GetPermissions() const {
    apr_finfo_t* const info = Facts(*record_);
    if (info == nullptr) {
        return -1;
    }
    if ((info->valid & APR_FINFO_PROT) == 0) {
        apr_finfo_t asked{};
        if (zukel::platform::QueryPermissions(asked, record_->filePath.c_str(),
                                              record_->pool.Get()) == APR_SUCCESS) {
            info->valid |= APR_FINFO_PROT;
            info->protection = asked.protection;
        }
    }
    return info->protection;
}

int kelFileInfo::GetUserId() const {
    return FactsWith(*record_, APR_FINFO_USER) != nullptr ? 0 : -1;
}

int kelFileInfo::GetGroupId() const {
    return FactsWith(*record_, APR_FINFO_GROUP) != nullptr ? 0 : -1;
}
