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
// attach. The runtime (1.7.2) maps the file under a name made of the file's, which others can take,
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

/// What a process holds of a segment.
struct Held {
    Handle file;
    FileId id;
    std::unique_ptr<wchar_t[]> name;     ///< That the file had, from wherever it is read.
    std::unique_ptr<wchar_t[]> removed;  ///< Its name once that one is freed.
};

Held* HeldBy(const Segment& segment) noexcept {
    return reinterpret_cast<Held*>(segment.identity[0]);
}

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
Header* Map(const Handle& file) noexcept {
    const Handle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READWRITE, 0, 0, nullptr));
    return mapping ? static_cast<Header*>(
                         MapViewOfFile(mapping.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0))
                   : nullptr;
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

/// Hands the file and its mapping over to the segment; for want of memory gives the mapping up.
bool Hold(Handle& file, Header* header, Segment& segment) noexcept {
    std::unique_ptr<Held> held(new (std::nothrow) Held);
    if (held) {
        held->id = Identify(file);
        held->name = FinalName(file);
        held->removed = RemovedName(file, held->id);
    }
    if (!held || !held->name || !held->removed) {
        UnmapViewOfFile(header);
        return false;
    }
    held->file = std::move(file);
    segment.address = header + 1;
    segment.size = header->usable;
    segment.identity[0] = reinterpret_cast<std::uintptr_t>(held.release());
    return true;
}

/// The system removes no file that is mapped. So the name is freed by giving the file another one,
/// under which the last who lets go of it can remove it.
///
/// @param removed that other name.
bool FreeName(const Handle& file, const std::unique_ptr<wchar_t[]>& removed) noexcept {
    return RemoveOpenFile(file) == ERROR_SUCCESS ||
           (removed && RenameOpenFile(file, removed.get()) == ERROR_SUCCESS);
}

/// Removes a file whose name has been freed, unless somebody still maps it.
void RemoveIfFreed(const Held& held) noexcept {
    if (Identify(held.removed.get(), Links::Themselves) == held.id) {
        DeleteFileW(held.removed.get());
    }
}

}  // namespace

bool CreateSegment(std::uint64_t size, const char* name, Segment& segment) noexcept {
    constexpr std::uint64_t kRest = std::uint64_t{1} << 20U;  // what the volume keeps beside it
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const WideName wide(name);
    if (!wide || size > kMost - kRest) {
        return false;
    }
    Handle file = MakeFile(wide.Get());
    if (!file) {
        return false;
    }
    Header* const header =
        VolumeHasRoom(wide.Get(), size + kRest) && SetSize(file, sizeof(Header) + size) ? Map(file)
                                                                                        : nullptr;
    if (header != nullptr) {
        header->usable = size;
        header->mapped.store(sizeof(Header) + size, std::memory_order_release);
    }
    if (header == nullptr || !Hold(file, header, segment)) {
        RemoveOpenFile(file);
        return false;
    }
    return true;
}

bool AttachSegment(const char* name, Segment& segment) noexcept {
    const WideName wide(name);
    if (!wide) {
        return false;
    }
    Handle file(CreateFileW(wide.Get(), kRights, kShareAll, nullptr, OPEN_EXISTING,
                            FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    LARGE_INTEGER size{};
    if (!file || GetFileType(file.Get()) != FILE_TYPE_DISK ||
        !SecurityOfFile(file).IsOwnAndClosed() || GetFileSizeEx(file.Get(), &size) == 0 ||
        size.QuadPart < static_cast<long long>(sizeof(Header))) {
        return false;
    }
    Header* const header = Map(file);
    if (header == nullptr) {
        return false;
    }
    const std::uint64_t mapped = header->mapped.load(std::memory_order_acquire);
    if (mapped != static_cast<std::uint64_t>(size.QuadPart) ||
        header->usable != mapped - sizeof(Header)) {
        UnmapViewOfFile(header);
        return false;
    }
    return Hold(file, header, segment);
}

bool UnmapSegment(Segment& segment) noexcept {
    if (UnmapViewOfFile(static_cast<Header*>(segment.address) - 1) == 0) {
        return false;
    }
    segment.address = nullptr;
    segment.size = 0;
    RemoveIfFreed(*HeldBy(segment));
    return true;
}

void ReleaseSegment(Segment& segment) noexcept {
    delete HeldBy(segment);
    segment.identity[0] = 0;
}

bool RemoveName(const char* name) noexcept {
    const WideName wide(name);
    if (!wide) {
        return false;
    }
    const Handle file(CreateFileW(wide.Get(), DELETE | FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    const FileId id = Identify(file);
    return file && (id.attributes & FILE_ATTRIBUTE_READONLY) == 0 &&
           FreeName(file, RemovedName(file, id));
}

bool RemoveSegmentName(const char*, const Segment& segment) noexcept {
    const Held& held = *HeldBy(segment);
    const FileId named = Identify(held.name.get(), Links::Themselves);
    const DWORD error = named.known ? ERROR_SUCCESS : GetLastError();
    // By the handle: whatever takes the name in the meantime, or has it where that cannot be told,
    // is not touched.
    const bool another = named.known && !(named == held.id);
    return another || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           FreeName(held.file, held.removed);
}

}  // namespace zukel::platform
