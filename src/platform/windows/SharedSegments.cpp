#include "platform/SharedSegments.h"

#include <atomic>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <limits>
#include <memory>
#include <new>

#include "platform/windows/OpenFile.h"
#include "platform/windows/Security.h"

// A segment is a file of its name, which every holder maps. The mappings have no names, so the file
// identifies the segment, and its access list decides who may attach. APR (1.7.2) names the mapping
// after the file, which lets another process take the name first, and opens a token in each call
// that it never closes.

namespace zukel::platform {

namespace {

/// What precedes the usable block. The creator writes `mapped` last.
struct Header {
    std::atomic<std::uint64_t> mapped;  ///< The size of the file.
    std::uint64_t usable;
};
static_assert(sizeof(Header) == 16 && std::atomic<std::uint64_t>::is_always_lock_free);

constexpr wchar_t kRemoved[] = L".zukel-removed";

struct Unmap {
    void operator()(Header* header) const noexcept { UnmapViewOfFile(header); }
};
using Mapping = std::unique_ptr<Header, Unmap>;

}  // namespace

/// A segment that this process has mapped.
struct Segment {
    Segment() = default;
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    Handle file;
    FileId id;
    std::unique_ptr<wchar_t[]> name;     ///< Absolute, of the file when it was opened.
    std::unique_ptr<wchar_t[]> removed;  ///< The file's name after `FreeName`.
    Mapping mapping;
};

namespace {

constexpr DWORD kRights = GENERIC_READ | GENERIC_WRITE | DELETE;

Handle MakeFile(const wchar_t* name) noexcept {
    OwnerAlone security;
    constexpr DWORD kInMemory = FILE_ATTRIBUTE_TEMPORARY;  // while there is enough of it
    return security.Get() == nullptr ? Handle()
                                     : Handle(CreateFileW(name, kRights, kShareAll, security.Get(),
                                                          CREATE_NEW, kInMemory, nullptr));
}

/// Whether the volume of the file has enough space. On a file system with sparse files the first
/// access would fail otherwise.
bool VolumeHasRoom(const wchar_t* name, std::uint64_t bytes) noexcept {
    wchar_t volume[1024];
    ULARGE_INTEGER room{};
    return GetVolumePathNameW(name, volume, static_cast<DWORD>(std::size(volume))) != 0 &&
           GetDiskFreeSpaceExW(volume, &room, nullptr, nullptr) != 0 && bytes <= room.QuadPart;
}

bool SetSize(const Handle& file, std::uint64_t bytes) noexcept {
    LARGE_INTEGER size{};
    size.QuadPart = static_cast<long long>(bytes);
    return SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) != 0 &&
           SetEndOfFile(file.Get()) != 0;
}

/// The whole file, or null.
Mapping Map(const Handle& file) noexcept {
    constexpr DWORD kBoth = FILE_MAP_READ | FILE_MAP_WRITE;
    const Handle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READWRITE, 0, 0, nullptr));
    return Mapping(mapping ? static_cast<Header*>(MapViewOfFile(mapping.Get(), kBoth, 0, 0, 0))
                           : nullptr);
}

/// What `FreeName` renames a file to, or null.
std::unique_ptr<wchar_t[]> RemovedName(const Handle& file, const FileId& id) noexcept {
    constexpr std::size_t kExtra = 1 + 16 + std::size(kRemoved);
    std::unique_ptr<wchar_t[]> name = FinalName(file, kExtra);
    if (name) {
        std::swprintf(name.get() + std::wcslen(name.get()), kExtra, L".%016llx%ls",
                      static_cast<unsigned long long>(id.id[0]), kRemoved);
    }
    return name;
}

/// Makes the file and its mapping a segment.
///
/// @param file is moved from on success alone.
apr_status_t Hold(Handle& file, Mapping mapping, SegmentHandle& segment,
                  SegmentBlock& block) noexcept {
    SegmentHandle held(new (std::nothrow) Segment);
    if (held) {
        held->id = Identify(file);
        held->name = FinalName(file);
        held->removed = RemovedName(file, held->id);
    }
    if (!held || !held->id.known || !held->name || !held->removed) {
        return APR_ENOMEM;
    }
    block = {mapping.get() + 1, mapping->usable};
    held->file = std::move(file);
    held->mapping = std::move(mapping);
    segment = std::move(held);
    return APR_SUCCESS;
}

/// Removes the name of a segment. The system does not remove a mapped file, so a mapped one is
/// renamed instead, and the last process that unmaps it removes it.
///
/// @param removed the new name.
apr_status_t FreeName(const Handle& file, const std::unique_ptr<wchar_t[]>& removed) noexcept {
    if (RemoveOpenFile(file) == ERROR_SUCCESS) {
        return APR_SUCCESS;
    }
    return removed ? SystemStatus(RenameOpenFile(file, removed.get())) : APR_ENOMEM;
}

/// Whether a file is a segment, and not another file of that name: its header matches its size, or
/// it is a temporary or empty file whose header is not yet written.
bool IsSegment(const Handle& file, const FileId& id) noexcept {
    constexpr DWORD kNever =
        FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_READONLY;
    std::uint64_t header[2] = {0, 0};
    DWORD got = 0;
    LARGE_INTEGER size{};
    if (!id.known || (id.attributes & kNever) != 0 || GetFileSizeEx(file.Get(), &size) == 0) {
        return false;
    }
    ReadFile(file.Get(), header, sizeof header, &got, nullptr);  // stays zero if it may not be read
    const auto bytes = static_cast<std::uint64_t>(size.QuadPart);
    const bool kind = bytes == 0 || (id.attributes & FILE_ATTRIBUTE_TEMPORARY) != 0;
    return header[0] == 0 ? kind : header[0] == bytes && header[1] == bytes - sizeof(Header);
}

/// Removes a file that `FreeName` has renamed, unless another process still maps it.
void RemoveIfFreed(const Segment& segment) noexcept {
    if (Identify(segment.removed.get(), Symlinks::NoFollow) == segment.id) {
        DeleteFileW(segment.removed.get());
    }
}

}  // namespace

Segment::~Segment() {
    if (mapping) {
        UnmapSegment(*this);
    }
}

void ReleaseSegment(Segment* segment) noexcept {
    delete segment;
}

apr_status_t CreateSegment(std::uint64_t size, const char* name, SegmentHandle& segment,
                           SegmentBlock& block) noexcept {
    constexpr std::uint64_t kRest = std::uint64_t{1} << 20U;  // which stay free on the volume
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    if (size > kMost - kRest) {
        return SystemStatus(ERROR_DISK_FULL);
    }
    Handle file = MakeFile(wide.Get());
    if (!file) {
        return LastStatus();
    }
    apr_status_t status = SystemStatus(ERROR_DISK_FULL);
    if (VolumeHasRoom(wide.Get(), size + kRest)) {
        Mapping mapping = SetSize(file, sizeof(Header) + size) ? Map(file) : nullptr;
        status = LastStatus();
        if (mapping) {
            mapping->usable = size;
            mapping->mapped.store(sizeof(Header) + size, std::memory_order_release);
            status = Hold(file, std::move(mapping), segment, block);
        }
    }
    if (status != APR_SUCCESS) {
        RemoveOpenFile(file);
    }
    return status;
}

apr_status_t AttachSegment(const char* name, SegmentHandle& segment, SegmentBlock& block) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    Handle file(CreateFileW(wide.Get(), kRights, kShareAll, nullptr, OPEN_EXISTING,
                            FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file) {
        return LastStatus();
    }
    LARGE_INTEGER size{};
    if (GetFileType(file.Get()) != FILE_TYPE_DISK || GetFileSizeEx(file.Get(), &size) == 0 ||
        size.QuadPart < static_cast<long long>(sizeof(Header))) {
        return APR_EINVAL;
    }
    if (!SecurityOfFile(file).IsOwnAndClosed()) {
        return APR_EACCES;
    }
    Mapping mapping = Map(file);
    if (!mapping) {
        return LastStatus();
    }
    const std::uint64_t mapped = mapping->mapped.load(std::memory_order_acquire);
    if (mapped != static_cast<std::uint64_t>(size.QuadPart) ||
        mapping->usable != mapped - sizeof(Header)) {
        return APR_EINVAL;  // not complete
    }
    return Hold(file, std::move(mapping), segment, block);
}

apr_status_t UnmapSegment(Segment& segment) noexcept {
    if (UnmapViewOfFile(segment.mapping.get()) == 0) {
        return LastStatus();
    }
    static_cast<void>(segment.mapping.release());
    RemoveIfFreed(segment);
    return APR_SUCCESS;
}

apr_status_t RemoveName(const char* name) noexcept {
    const WideName wide(name);
    if (!wide) {
        return wide.Status();
    }
    constexpr DWORD kNeeded = DELETE | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
    Handle file = OpenForFacts(wide.Get(), kNeeded | FILE_READ_DATA, Symlinks::NoFollow);
    if (!file) {  // somebody else's
        file = OpenForFacts(wide.Get(), kNeeded, Symlinks::NoFollow);
    }
    if (!file) {
        return LastStatus();
    }
    const FileId id = Identify(file);
    return IsSegment(file, id) ? FreeName(file, RemovedName(file, id)) : APR_ENOENT;
}

apr_status_t RemoveSegmentName(const char*, const Segment& segment) noexcept {
    const FileId named = Identify(segment.name.get(), Symlinks::NoFollow);
    const DWORD error = named.known ? ERROR_SUCCESS : GetLastError();
    // By the handle: a file that takes the name in the meantime is not touched.
    const bool another = named.known && !(named == segment.id);
    const bool gone = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return another || gone ? APR_SUCCESS : FreeName(segment.file, segment.removed);
}

}  // namespace zukel::platform
