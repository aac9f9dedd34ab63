#include "platform/SharedSegments.h"

#include <apr_file_io.h>
#include <apr_shm.h>
#include <apr_strings.h>

#include <limits>
#include <new>

#include "platform/windows/OpenFile.h"

// The runtime (1.7.2) backs a segment with a file under its name, and maps that under a name made
// of it. It takes any file that is there, wraps near 2^64, leaves the file behind when it fails,
// and attaches to a segment that is not whole.

namespace zukel::platform {

namespace {

/// What the runtime puts before the usable block: the size of the mapping, then that of the block.
struct Header {
    apr_size_t mapped;
    apr_size_t usable;
};

constexpr char kRemoved[] = ".zukel-removed";

/// What is kept of a segment, in the pool that it was made with.
struct Held {
    apr_shm_t* shared;
    bool owner;
    FileId file;
    const char* removed;  ///< The name that its file has once its own is gone.
};

Held* HeldBy(const Segment& segment) noexcept {
    return reinterpret_cast<Held*>(segment.identity[0]);
}

FileId IdentifyByName(const char* name) noexcept {
    const WideName wide(name);
    return wide ? Identify(wide.Get(), Links::Themselves) : FileId();
}

bool Keep(apr_shm_t* shared, bool owner, const char* name, apr_pool_t* pool,
          Segment& segment) noexcept {
    void* const memory = apr_palloc(pool, sizeof(Held));
    if (memory == nullptr) {
        return false;
    }
    const char* const removed = apr_pstrcat(pool, name, kRemoved, nullptr);
    const auto* const held = new (memory) Held{shared, owner, IdentifyByName(name), removed};
    segment.address = apr_shm_baseaddr_get(shared);
    segment.size = apr_shm_size_get(shared);
    segment.identity[0] = reinterpret_cast<std::uintptr_t>(held);
    return true;
}

/// Makes the file, so that whatever has the name already is left alone.
bool ReserveName(const char* name, apr_pool_t* pool) noexcept {
    constexpr apr_int32_t kNew = APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_EXCL;
    apr_file_t* file = nullptr;
    return apr_file_open(&file, name, kNew, APR_FPROT_UREAD | APR_FPROT_UWRITE, pool) ==
               APR_SUCCESS &&
           apr_file_close(file) == APR_SUCCESS;
}

/// Whether the volume of the file has the room. A file system that keeps holes would find out at
/// the first touch.
bool VolumeHasRoom(const char* name, std::uint64_t bytes) noexcept {
    const WideName wide(name);
    wchar_t volume[1024];
    ULARGE_INTEGER room{};
    constexpr DWORD kSize = sizeof volume / sizeof *volume;
    return wide && GetVolumePathNameW(wide.Get(), volume, kSize) != 0 &&
           GetDiskFreeSpaceExW(volume, &room, nullptr, nullptr) != 0 && bytes <= room.QuadPart;
}

}  // namespace

bool CreateSegment(std::uint64_t size, const char* name, apr_pool_t* pool,
                   Segment& segment) noexcept {
    // What the runtime adds, and the rounding up to the system's unit.
    constexpr std::uint64_t kRest = std::uint64_t{1} << 20U;
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (size > kMost - kRest || !ReserveName(name, pool)) {
        return false;
    }
    apr_shm_t* shared = nullptr;
    if (!VolumeHasRoom(name, size + kRest) ||
        apr_shm_create(&shared, size, name, pool) != APR_SUCCESS) {
        apr_file_remove(name, pool);
        return false;
    }
    if (!Keep(shared, true, name, pool, segment)) {
        apr_shm_destroy(shared);
        return false;
    }
    return true;
}

bool AttachSegment(const char* name, apr_pool_t* pool, Segment& segment) noexcept {
    apr_shm_t* shared = nullptr;
    // The mapping outlives the name for as long as somebody holds it.
    if (!IdentifyByName(name).known || apr_shm_attach(&shared, name, pool) != APR_SUCCESS) {
        return false;
    }
    // The creator writes the size of the mapping last; the runtime may have read it too early.
    const auto* const header =
        static_cast<const volatile Header*>(apr_shm_baseaddr_get(shared)) - 1;
    if (header->mapped == 0 || header->usable != apr_shm_size_get(shared) ||
        !Keep(shared, false, name, pool, segment)) {
        apr_shm_detach(shared);
        return false;
    }
    return true;
}

bool UnmapSegment(Segment& segment) noexcept {
    const Held& held = *HeldBy(segment);
    // The creator's end takes the file away too, which may have gone before.
    const apr_status_t status =
        held.owner ? apr_shm_destroy(held.shared) : apr_shm_detach(held.shared);
    if (status != APR_SUCCESS && !(held.owner && APR_STATUS_IS_ENOENT(status))) {
        return false;
    }
    segment.address = nullptr;
    segment.size = 0;
    const WideName removed(held.removed);
    if (removed) {
        DeleteFileW(removed.Get());  // which only the last who holds it can
    }
    return true;
}

bool RemoveName(const char* name, apr_pool_t* pool) noexcept {
    const WideName present(name);
    const WideName removed(apr_pstrcat(pool, name, kRemoved, nullptr));
    constexpr DWORD kStays = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
    if (!present || !removed || (GetFileAttributesW(present.Get()) & kStays) != 0 ||
        MoveFileExW(present.Get(), removed.Get(), MOVEFILE_REPLACE_EXISTING) == 0) {
        return false;
    }
    DeleteFileW(removed.Get());
    return true;
}

bool RemoveSegmentName(const char* name, const Segment& segment, apr_pool_t* pool) noexcept {
    const FileId now = IdentifyByName(name);
    return !(now == HeldBy(segment)->file) || RemoveName(name, pool);
}

}  // namespace zukel::platform
