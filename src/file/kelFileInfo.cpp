#include "kelFileInfo.h"

#include <cstdint>

#include "file/kelFileInfoRecord.h"
#include "frame/Names.h"
#include "frame/StatusMapping.h"

namespace platform = zukel::platform;
using platform::FileFacts;

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

/// The file's metadata: queries it unless an earlier query has succeeded.
const FileFacts& Facts(kelFileInfoRecord& record) noexcept {
    if (!record.answered) {
        const apr_status_t status =
            zukel::IsWhole(record.filePath)
                ? platform::QueryFile(record.filePath.c_str(), record.mode, record.facts)
                : APR_ENOENT;
        record.answered = zukel::MapStatus(status) == kelStatusOk;
    }
    return record.facts;
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

/// A number from the system, or -1.
long long Known(std::uint32_t number) noexcept {
    return number == FileFacts::kNoNumber ? -1LL : number;
}

zukel::NameParts Parts(kelFileInfoRecord& record) noexcept {
    if (!record.isCut) {
        record.cuts = zukel::FindCuts(record.filePath);
        record.isCut = true;
    }
    return zukel::SplitName(record.filePath, record.cuts);
}

}  // namespace

kelFileInfo::kelFileInfo(const zuString& name) : kelFileInfo(name, LinksThemselves) {}

kelFileInfo::kelFileInfo(const zuString& name, LinkMode mode)
    : record_(new kelFileInfoRecord(name, mode == LinksFollowed ? platform::LinkMode::Followed
                                                                : platform::LinkMode::Itself)) {}

kelFileInfo::kelFileInfo(kelLibrary*, const zuString& name) : kelFileInfo(name) {}

kelFileInfo::kelFileInfo(const kelFileInfo& other)
    : record_(new kelFileInfoRecord(other.record_->filePath, other.record_->mode)) {}

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
    return MapType(Facts(*record_).type);
}

int kelFileInfo::GetSize() const {
    return static_cast<int>(static_cast<std::uint32_t>(Facts(*record_).size));
}

long long kelFileInfo::GetCreationTime() const {
    return Facts(*record_).created;
}

long long kelFileInfo::GetLastAccessTime() const {
    return Facts(*record_).accessed;
}

long long kelFileInfo::GetLastModifiedTime() const {
    return Facts(*record_).modified;
}

int kelFileInfo::GetPermissions() const {
    const int permissions = Facts(*record_).permissions;
    if (permissions != -1 || !record_->answered) {
        return permissions;
    }
    const apr_status_t status =
        platform::QueryPermissions(record_->filePath.c_str(), record_->facts.permissions);
    return zukel::MapStatus(status) == kelStatusOk ? record_->facts.permissions : 0;
}

int kelFileInfo::GetUserId() const {
    return Facts(*record_).hasUser ? 0 : -1;
}

int kelFileInfo::GetGroupId() const {
    return Facts(*record_).hasGroup ? 0 : -1;
}

long long kelFileInfo::GetLength() const {
    return Facts(*record_).size;
}

long long kelFileInfo::GetLinkCount() const {
    return Known(Facts(*record_).links);
}

long long kelFileInfo::GetOwnerNumber() const {
    return Known(Facts(*record_).user);
}

long long kelFileInfo::GetGroupNumber() const {
    return Known(Facts(*record_).group);
}
