#include "platform/FileOperations.h"
#include "platform/windows/OpenFile.h"

// APR's copy (1.7.2) and the system's `CopyFileW` empty a target before they know that it
// is not the source, or leave a part of it when the writing fails. So the first is done here, with
// the result of APR's, and the second only where both ends can be had.

namespace zukel::platform {

namespace {

/// Directories do not open.
Handle OpenSource(const wchar_t* name) noexcept {
    return Handle(CreateFileW(name, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

/// Some files open and then cannot be read, as where another process has locked a part: the target
/// must not suffer from that.
bool GivesAByte(const Handle& file) noexcept {
    char first = 0;
    DWORD got = 0;
    return GetFileType(file.Get()) != FILE_TYPE_DISK ||
           (ReadFile(file.Get(), &first, sizeof first, &got, nullptr) != 0 &&
            SetFilePointerEx(file.Get(), {}, nullptr, FILE_BEGIN) != 0);
}

/// The read-only mark is all that a word of permission bits can say of a file here.
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

/// Gives the copy its source's attributes and time of change, which Wine 8 leaves out: the first
/// where the target existed, the second always.
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

}  // namespace

CopyEnd CopyWithPermissions(const char* from, const char* to, apr_fileperms_t perms) noexcept {
    const WideName source(from);
    const WideName target(to);
    if (!source || !target) {
        return CopyEnd::Failed;
    }
    // By name first: the target may not open for writing.
    if (Identify(source.Get(), Links::Followed) == Identify(target.Get(), Links::Followed)) {
        return CopyEnd::SameFile;
    }
    const Handle in = OpenSource(source.Get());
    if (!in || !GivesAByte(in)) {
        return CopyEnd::Failed;
    }
    Handle out(CreateFileW(target.Get(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!out) {  // one that can only be written, such as a pipe
        out = Handle(CreateFileW(target.Get(), GENERIC_WRITE, kShareAll, nullptr, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    if (!out) {
        return CopyEnd::Failed;
    }
    const FileId file = Identify(in);
    if (file == Identify(out)) {  // and for certain now
        return CopyEnd::SameFile;
    }
    const bool regular = GetFileType(out.Get()) == FILE_TYPE_DISK;
    if (regular && SetEndOfFile(out.Get()) == 0) {
        return CopyEnd::Failed;
    }
    const bool takesMark = regular && perms == APR_FPROT_FILE_SOURCE_PERMS;
    if (!CopyContents(in, out) || (takesMark && !TakeReadOnlyMark(out, file.attributes))) {
        DropOpenFile(std::move(out));
        return CopyEnd::Failed;
    }
    return out.Close() ? CopyEnd::Done : CopyEnd::Failed;
}

CopyEnd CopyWithAttributes(const char* from, const char* to) noexcept {
    const WideName sourceName(from);
    const WideName targetName(to);
    if (!sourceName || !targetName) {
        return CopyEnd::Failed;
    }
    const auto open = [](const WideName& name, DWORD access) {
        return Handle(
            CreateFileW(name.Get(), access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    };
    const FileId source = Identify(open(sourceName, FILE_READ_ATTRIBUTES));
    const Handle present = open(targetName, FILE_READ_ATTRIBUTES);
    if (source == Identify(present)) {
        return CopyEnd::SameFile;
    }
    if (!open(sourceName, GENERIC_READ) || (present && !open(targetName, GENERIC_WRITE))) {
        return CopyEnd::Failed;
    }
    if (CopyFileW(sourceName.Get(), targetName.Get(), FALSE) != 0) {
        CarryOver(open(sourceName, FILE_READ_ATTRIBUTES), open(targetName, FILE_WRITE_ATTRIBUTES));
        return CopyEnd::Done;
    }
    // Both ends could be had, so it is the writing that has failed.
    DropOpenFile(open(targetName, GENERIC_WRITE));
    return CopyEnd::Failed;
}

}  // namespace zukel::platform
