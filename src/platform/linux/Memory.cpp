#include "platform/Memory.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

#include "platform/linux/AvailableMemory.h"
#include "platform/linux/Bytes.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/MemoryTexts.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

/// Large enough for the fields that are read from each text and for the path of a cgroup;
/// the rest is ignored. It is on the heap: the stack of a thread may have 16 KiB.
struct Room {
    char text[8192];
    char path[4096];
};
using RoomHandle = std::unique_ptr<Room>;

RoomHandle MakeRoom() noexcept {
    return RoomHandle(new (std::nothrow) Room);
}

/// The start of a file of the system, or the empty text.
std::string_view ReadText(const char* path, Room& room) noexcept {
    const Descriptor file(Uninterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC); }));
    std::size_t length = 0;
    while (file && length < sizeof room.text) {
        const ssize_t got = Uninterrupted(
            [&] { return read(file.Get(), room.text + length, sizeof room.text - length); });
        if (got <= 0) {
            break;
        }
        length += static_cast<std::size_t>(got);
    }
    return {room.text, length};
}

/// The files of one version of cgroup.
struct CgroupFiles {
    CgroupVersion version;
    const char* root;
    const char* limit;
    const char* used;
    const char* reclaimable;  ///< The field of memory.stat.
};

/// v1 first: where its memory controller is mounted, v2 does not count memory.
constexpr CgroupFiles kCgroupFiles[] = {
    {CgroupVersion::V1, "/sys/fs/cgroup/memory", "memory.limit_in_bytes", "memory.usage_in_bytes",
     "total_inactive_file"},
    {CgroupVersion::V2, "/sys/fs/cgroup", "memory.max", "memory.current", "inactive_file"},
};

/// The folder of a group, and its files.
class CgroupFolder {
public:
    /// A path that is too long is replaced by that of the nearest group above it that fits.
    CgroupFolder(const char* root, std::string_view group, Room& room) noexcept
        : room_(room), rootSize_(std::strlen(root)), size_(rootSize_) {
        constexpr std::size_t kRoomForName = 64;
        while (rootSize_ + group.size() > sizeof room_.path - kRoomForName) {
            group = group.substr(0, group.rfind('/'));
        }
        std::memcpy(room_.path, root, rootSize_);
        std::memcpy(room_.path + rootSize_, group.data(), group.size());
        size_ += group.size();
    }

    /// Goes to the group above; false at the root.
    bool Up() noexcept {
        if (size_ == rootSize_) {
            return false;
        }
        size_ = std::string_view(room_.path, size_).rfind('/');
        return true;
    }

    std::string_view Read(const char* name) noexcept {
        std::snprintf(room_.path + size_, sizeof room_.path - size_, "/%s", name);
        return ReadText(room_.path, room_);
    }

private:
    Room& room_;
    std::size_t rootSize_, size_;
};

void ApplyCgroup(const CgroupFiles& files, CgroupFolder& folder, std::uint64_t machineTotal,
                 PhysicalMemory& memory) noexcept {
    const std::uint64_t limit = NumberAt(folder.Read(files.limit));
    if (limit >= machineTotal) {
        return;  // no limit, or an irrelevant one; unknown is all ones
    }
    const std::uint64_t used = NumberAt(folder.Read(files.used));
    const std::string_view details = folder.Read("memory.stat");
    ApplyLimit(memory, limit, used, FieldOf(details, files.reclaimable, 1));
}

/// Walks from the process's own group up. In a container whose group is mounted as the root, the
/// path may name nothing below it; the walk then finds the root itself.
void ApplyCgroups(PhysicalMemory& memory, Room& room) noexcept {
    const std::string_view own = ReadText("/proc/self/cgroup", room);
    const std::uint64_t machineTotal = memory.total;
    for (const CgroupFiles& files : kCgroupFiles) {
        if (const std::optional<std::string_view> group = CgroupPathOf(own, files.version)) {
            CgroupFolder folder(files.root, *group, room);
            do {
                ApplyCgroup(files, folder, machineTotal, memory);
            } while (folder.Up());
            return;
        }
    }
}

/// The machine's memory, and the limits of cgroups.
struct Figures {
    PhysicalMemory physical;
    std::uint64_t commitLimit, committed, freeSwap;
};

/// The buffer is reused for one text after the other.
Figures ReadFigures(Room& room) noexcept {
    const std::string_view text = ReadText("/proc/meminfo", room);
    const auto field = [&](const char* name) { return FieldOf(text, name, 1024); };
    Figures figures{{field("MemTotal"), field("MemAvailable"), false},
                    field("CommitLimit"),
                    field("Committed_AS"),
                    field("SwapFree")};
    ApplyCgroups(figures.physical, room);
    return figures;
}

/// The size of a process's address space. On most processors it depends on how the system was
/// built, so it is derived from the stack, which begins close below the end: within the last GiB
/// with 32 bits, in the upper half with 64.
std::uint64_t AddressSpace() noexcept {
#if defined(__x86_64__)
    return std::uint64_t{1} << 47U;
#else
    const auto inStack = static_cast<std::uint64_t>(getauxval(AT_RANDOM));
    std::uint64_t end = std::uint64_t{1} << 30U;
    while (end < inStack) {
        end = sizeof(void*) > 4 ? 2 * end : end + (std::uint64_t{1} << 30U);
    }
    return inStack == 0 ? kUnknown : end;
#endif
}

void QueryAddressSpace(MemoryBytes& bytes, Room& room) noexcept {
    rlimit limit{};
    bytes.totalVirtual = AddressSpace();
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        bytes.totalVirtual = std::min<std::uint64_t>(bytes.totalVirtual, limit.rlim_cur);
    }
    const std::uint64_t pages = NumberAt(ReadText("/proc/self/statm", room));
    const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    bytes.availableVirtual = Remaining(bytes.totalVirtual, Bytes(pages, pageSize));
}

}  // namespace

MemoryBytes QueryMemory() noexcept {
    const Uncancelled uncancelled;
    MemoryBytes bytes;
    const RoomHandle room = MakeRoom();
    if (room == nullptr) {
        return bytes;
    }
    const Figures figures = ReadFigures(*room);
    bytes.totalPhysical = figures.physical.total;
    bytes.availablePhysical = figures.physical.available;
    bytes.totalPaging = figures.commitLimit;
    bytes.availablePaging = Remaining(figures.commitLimit, figures.committed);
    QueryAddressSpace(bytes, *room);
    return bytes;
}

std::uint64_t AvailableForSegments() noexcept {
    const Uncancelled uncancelled;
    const RoomHandle room = MakeRoom();
    if (room == nullptr) {
        return 0;
    }
    const Figures figures = ReadFigures(*room);
    const std::uint64_t available = figures.physical.available;
    if (figures.physical.limited || figures.freeSwap > kUnknown - available) {
        return available;
    }
    return available + figures.freeSwap;
}

}  // namespace zukel::platform
