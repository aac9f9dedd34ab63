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

// A segment is a file under its name, mapped by everyone who holds it. The mappings have no names
// of their own, so it is the file and its access list that say which segment it is and who may
// attach. APR (1.7.2) maps the file under a name made of the file's, which others can take,
// and asks each time for a token that it never closes.

namespace zukel::platform {

namespace {

/// What stands before the usable block. The creator writes `mapped` last.
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

/// What a process holds of a segment.
struct Segment {
    Segment() = default;
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    Handle file;
    FileId id;
    std::unique_ptr<wchar_t[]> removed;  ///< The name of the file once its own is freed.
    Mapping mapping;
};

namespace {

constexpr DWORD kRights = GENERIC_READ | GENERIC_WRITE | DELETE;

Handle MakeFile(const wchar_t* name) noexcept {
    OwnerAlone security;
    constexpr DWORD kInMemory = FILE_ATTRIBUTE_TEMPORARY;  // as long as there is enough of it
    return security.Get() == nullptr ? Handle()
                                     : Handle(CreateFileW(name, kRights, kShareAll, security.Get(),
                                                          CREATE_NEW, kInMemory, nullptr));
}

/// Whether the volume of the file has the room. A file system that keeps holes would find out at
/// the first touch.
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

/// The name that frees a file's own, or null.
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
        held->removed = RemovedName(file, held->id);
    }
    if (!held || !held->removed) {
        return APR_ENOMEM;
    }
    block = {mapping.get() + 1, mapping->usable};
    held->file = std::move(file);
    held->mapping = std::move(mapping);
    segment = std::move(held);
    return APR_SUCCESS;
}

/// The system removes no file that is mapped. So the name is freed by giving the file another one,
/// under which the last who lets go of it can remove it.
apr_status_t FreeName(const Handle& file) noexcept {
    if (RemoveOpenFile(file) == ERROR_SUCCESS) {
        return APR_SUCCESS;
    }
    const std::unique_ptr<wchar_t[]> name = RemovedName(file, Identify(file));
    return name ? SystemStatus(RenameOpenFile(file, name.get())) : APR_ENOMEM;
}

/// Removes a file whose name has been freed, unless somebody still maps it.
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
    constexpr std::uint64_t kRest = std::uint64_t{1} << 20U;  // what the volume keeps beside it
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
        return APR_EINVAL;  // it is not whole
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
    const Handle file(CreateFileW(wide.Get(), DELETE | FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file) {
        return LastStatus();
    }
    const bool readOnly = (Identify(file).attributes & FILE_ATTRIBUTE_READONLY) != 0;
    return readOnly ? APR_EACCES : FreeName(file);
}

apr_status_t RemoveSegmentName(const char* name, const Segment& segment) noexcept {
    const WideName wide(name);
    const bool isOurs = wide && Identify(wide.Get(), Symlinks::NoFollow) == segment.id;
    // By the handle: whatever takes the name in the meantime is not touched.
    return isOurs ? FreeName(segment.file) : APR_SUCCESS;
}

}  // namespace zukel::platform
