#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "platform/FileOperations.h"
#include "platform/windows/OpenFile.h"
#include "platform/windows/TemporaryFile.h"

namespace zukel::platform {

namespace {

bool MarkForRemoval(const Handle& file, bool remove) noexcept {
    FILE_DISPOSITION_INFO info{};
    info.DeleteFile = remove ? TRUE : FALSE;
    return SetFileInformationByHandle(file.Get(), FileDispositionInfo, &info, sizeof info) != 0;
}

/// The file that is moved. It is not shared for writing, so that nobody changes it meanwhile.
class Source {
public:
    explicit Source(const wchar_t* name) noexcept
        : file_(CreateFileW(name, GENERIC_READ | FILE_WRITE_ATTRIBUTES | DELETE, FILE_SHARE_READ,
                            nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr)) {
        constexpr DWORD kNoPlainFile = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
        usable_ =
            file_ && GetFileType(file_.Get()) == FILE_TYPE_DISK &&
            GetFileInformationByHandleEx(file_.Get(), FileBasicInfo, &facts_, sizeof facts_) != 0 &&
            (facts_.FileAttributes & kNoPlainFile) == 0;
    }
    ~Source() {
        if (unprotected_) {
            SetAttributes(facts_.FileAttributes);
        }
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    explicit operator bool() const noexcept { return usable_; }
    const Handle& File() const noexcept { return file_; }

    /// Gives another file this one's times and attributes.
    bool CopyMetadataTo(const Handle& copy) const noexcept {
        FILE_BASIC_INFO facts = facts_;
        return SetFileInformationByHandle(copy.Get(), FileBasicInfo, &facts, sizeof facts) != 0;
    }

    /// Whether it can be deleted. Removes the read-only attribute first; the destructor restores
    /// it.
    bool CanDelete() noexcept {
        if ((facts_.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
            unprotected_ = SetAttributes(FILE_ATTRIBUTE_NORMAL);
        }
        return MarkForRemoval(file_, true) && MarkForRemoval(file_, false);
    }

    bool Delete() noexcept {
        const bool gone = MarkForRemoval(file_, true);
        unprotected_ = unprotected_ && !gone;
        return gone;
    }

private:
    bool SetAttributes(DWORD attributes) noexcept {
        FILE_BASIC_INFO facts{};  // zeros leave the times
        facts.FileAttributes = attributes;
        return SetFileInformationByHandle(file_.Get(), FileBasicInfo, &facts, sizeof facts) != 0;
    }

    Handle file_;
    FILE_BASIC_INFO facts_{};
    bool usable_ = false;
    bool unprotected_ = false;
};

/// The names of a file's other streams than its contents, as `:name:$DATA`. None where the file
/// system has no streams, or does not return them.
std::vector<std::wstring> OtherStreams(const Handle& file) {
    std::vector<char> room(64 * 1024);
    std::vector<std::wstring> names;
    while (GetFileInformationByHandleEx(file.Get(), FileStreamInfo, room.data(),
                                        static_cast<DWORD>(room.size())) == 0) {
        if (GetLastError() != ERROR_MORE_DATA) {
            return names;
        }
        room.resize(2 * room.size());
    }
    for (const char* at = room.data();;) {
        FILE_STREAM_INFO head{};
        std::memcpy(&head, at, offsetof(FILE_STREAM_INFO, StreamName));
        std::wstring name(head.StreamNameLength / sizeof(wchar_t), L'\0');
        std::memcpy(name.data(), at + offsetof(FILE_STREAM_INFO, StreamName),
                    head.StreamNameLength);
        if (!name.empty() && name != L"::$DATA") {
            names.push_back(std::move(name));
        }
        if (head.NextEntryOffset == 0) {
            return names;
        }
        at += head.NextEntryOffset;
    }
}

/// Copies the other streams: a browser, for example, stores there where a file comes from.
bool CopyStreams(const Source& source, const wchar_t* from, const wchar_t* to) {
    const std::vector<std::wstring> names = OtherStreams(source.File());
    return std::all_of(names.begin(), names.end(), [&](const std::wstring& name) {
        const Handle in(CreateFileW((from + name).c_str(), GENERIC_READ, kShareAll, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
        const Handle out(CreateFileW((to + name).c_str(), GENERIC_WRITE, kShareAll, nullptr,
                                     CREATE_NEW, 0, nullptr));
        return in && out && CopyContents(in, out);
    });
}

}  // namespace

apr_status_t MoveAcrossVolumes(const char* from, const char* to) {
    WideName sourceName(from);
    WideName targetName(to);
    if (!sourceName || !sourceName.MakeExtended()) {
        return sourceName.Status();
    }
    if (!targetName || !targetName.MakeExtended()) {
        return targetName.Status();
    }
    SetLastError(ERROR_SUCCESS);
    Source source(sourceName.Get());
    if (!source) {
        return LastStatus();
    }
    TemporaryFile copy(targetName.Get());
    const bool moved = copy && CopyContents(source.File(), copy.File()) &&
                       CopyStreams(source, sourceName.Get(), copy.Name()) &&
                       source.CopyMetadataTo(copy.File()) &&
                       FlushFileBuffers(copy.File().Get()) != 0 && source.CanDelete() &&
                       copy.TakeTargetsName() && source.Delete();
    return moved ? APR_SUCCESS : LastStatus();
}

}  // namespace zukel::platform
