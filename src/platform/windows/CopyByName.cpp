#include "platform/FileOperations.h"
#include "platform/windows/OpenFile.h"

// APR's copy (1.7.2) truncates a target that is the source under another name, and leaves a partial
// target after a failure, so it is done here. `CopyFileW` is called only if both files can be
// opened, and if they are two.

namespace zukel::platform {

namespace {

/// Fails for a directory.
Handle OpenSource(const wchar_t* name) noexcept {
    return Handle(CreateFileW(name, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

/// Some files open and cannot be read, for example if another process has locked a part. The copy
/// must find out before it truncates the target.
bool CanBeRead(const Handle& file) noexcept {
    char first = 0;
    DWORD got = 0;
    return GetFileType(file.Get()) != FILE_TYPE_DISK ||
           (ReadFile(file.Get(), &first, sizeof first, &got, nullptr) != 0 &&
            SetFilePointerEx(file.Get(), {}, nullptr, FILE_BEGIN) != 0);
}

/// Gives a copy the read-only attribute of its source, which is all of its permissions that can be
/// copied.
bool TakeReadOnlyMark(const Handle& file, std::uint32_t sourceAttributes) noexcept {
    FILE_BASIC_INFO info{};
    if (GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &info, sizeof info) == 0) {
        return false;
    }
    const DWORD others = info.FileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    FILE_BASIC_INFO wanted{};  // zeros leave the times
    wanted.FileAttributes = others | (sourceAttributes & FILE_ATTRIBUTE_READONLY);
    if (wanted.FileAttributes == 0) {
        wanted.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    }
    return SetFileInformationByHandle(file.Get(), FileBasicInfo, &wanted, sizeof wanted) != 0;
}

/// Gives the copy its source's attributes and modification time. `CopyFileW` of Wine 8 leaves out
/// the attributes if the target existed, and the time always.
void CarryOver(const Handle& source, const Handle& copy) noexcept {
    FILE_BASIC_INFO info{};
    if (GetFileType(copy.Get()) != FILE_TYPE_DISK ||
        GetFileInformationByHandleEx(source.Get(), FileBasicInfo, &info, sizeof info) == 0) {
        return;
    }
    FILE_BASIC_INFO wanted{};  // zeros leave the other times
    wanted.LastWriteTime = info.LastWriteTime;
    wanted.FileAttributes = info.FileAttributes;
    SetFileInformationByHandle(copy.Get(), FileBasicInfo, &wanted, sizeof wanted);
}

/// Whether `CopyFileW` has failed at opening one of the files, so that the target is as it was. It
/// opens them for itself, shares less of them than this library does, and refuses a target that is
/// hidden.
bool IsRefusalToOpen(DWORD error) noexcept {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
}

/// What a copy onto the file itself returns.
constexpr apr_status_t kSameFile = SystemStatus(ERROR_INVALID_PARAMETER);

}  // namespace

apr_status_t CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms) noexcept {
    const WideName source(from);
    const WideName target(to);
    if (!source || !target) {
        return source ? target.Status() : source.Status();
    }
    // By name first: the target may refuse to be opened for writing.
    if (Identify(source.Get(), Symlinks::Follow) == Identify(target.Get(), Symlinks::Follow)) {
        return kSameFile;
    }
    const Handle in = OpenSource(source.Get());
    if (!in || !CanBeRead(in)) {
        return LastStatus();
    }
    Handle out(CreateFileW(target.Get(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!out) {  // a pipe may allow writing alone
        out = Handle(CreateFileW(target.Get(), GENERIC_WRITE, kShareAll, nullptr, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    if (!out) {
        return LastStatus();
    }
    const FileId file = Identify(in);
    if (file == Identify(out)) {  // again: a name may mean another file by now
        return kSameFile;
    }
    const bool regular = GetFileType(out.Get()) == FILE_TYPE_DISK;
    if (regular && SetEndOfFile(out.Get()) == 0) {
        return LastStatus();
    }
    const bool takesMark = regular && perms == APR_FPROT_FILE_SOURCE_PERMS;
    if (!CopyContents(in, out) || (takesMark && !TakeReadOnlyMark(out, file.attributes))) {
        const apr_status_t reason = LastStatus();
        DropOpenFile(std::move(out));
        return reason;
    }
    return out.Close() ? APR_SUCCESS : LastStatus();
}

apr_status_t CopyWithAttributes(const char* from, const char* to, bool normal) noexcept {
    const WideName sourceName(from);
    const WideName targetName(to);
    if (!sourceName || !targetName) {
        return sourceName ? targetName.Status() : sourceName.Status();
    }
    const auto open = [](const WideName& name, DWORD access) {
        return Handle(
            CreateFileW(name.Get(), access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    };
    const FileId source = Identify(open(sourceName, FILE_READ_ATTRIBUTES));
    const Handle present = open(targetName, FILE_READ_ATTRIBUTES);
    if (source == Identify(present)) {
        return kSameFile;
    }
    apr_status_t status = APR_SUCCESS;
    if (!open(sourceName, GENERIC_READ) || (present && !open(targetName, GENERIC_WRITE))) {
        status = LastStatus();
    } else if (CopyFileW(sourceName.Get(), targetName.Get(), FALSE) != 0) {
        CarryOver(open(sourceName, FILE_READ_ATTRIBUTES), open(targetName, FILE_WRITE_ATTRIBUTES));
    } else {
        status = LastStatus();
        if (!present || !IsRefusalToOpen(static_cast<DWORD>(APR_TO_OS_ERROR(status)))) {
            DropOpenFile(open(targetName, GENERIC_WRITE));
        }
    }
    if (normal) {
        SetFileAttributesW(targetName.Get(), FILE_ATTRIBUTE_NORMAL);
    }
    return status;
}

}  // namespace zukel::platform
