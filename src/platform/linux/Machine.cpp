#include "platform/Machine.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <string_view>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MemoryFigures.h"
#include "platform/linux/Uncancelled.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace zukel::platform {

namespace {

/// Room for any of the texts below; what is beyond is not read, and needed of none.
using TextBuffer = char[8192];

/// The start of a file of the system, or the empty text.
std::string_view ReadText(const char* path, TextBuffer& buffer) noexcept {
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    std::size_t length = 0;
    while (file && length < sizeof buffer) {
        const ssize_t got = read(file.Get(), buffer + length, sizeof buffer - length);
        if (got > 0) {
            length += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    return {buffer, length};
}

/// The files of one kind of control group.
struct GroupFiles {
    GroupKind kind;
    const char* root;
    const char* limit;
    const char* used;
    const char* reclaimable;  ///< The field of memory.stat.
};

/// The first kind counts memory where it is there for it; where it is not, the second may.
constexpr GroupFiles kGroupFiles[] = {
    {GroupKind::One, "/sys/fs/cgroup/memory", "memory.limit_in_bytes", "memory.usage_in_bytes",
     "total_inactive_file"},
    {GroupKind::Two, "/sys/fs/cgroup", "memory.max", "memory.current", "inactive_file"},
};

/// The folder of a group, and its files.
class GroupFolder {
public:
    GroupFolder(const char* root, std::string_view group) noexcept
        : rootSize_(std::strlen(root)), size_(rootSize_) {
        constexpr std::size_t kRoomForName = 64;
        while (rootSize_ + group.size() > sizeof text_ - kRoomForName) {
            group = group.substr(0, group.rfind('/'));
        }
        std::memcpy(text_, root, rootSize_);
        std::memcpy(text_ + rootSize_, group.data(), group.size());
        size_ += group.size();
    }

    /// Goes to the group above; false at the root.
    bool Up() noexcept {
        if (size_ == rootSize_) {
            return false;
        }
        size_ = std::string_view(text_, size_).rfind('/');
        return true;
    }

    std::string_view Read(const char* name, TextBuffer& buffer) noexcept {
        std::snprintf(text_ + size_, sizeof text_ - size_, "/%s", name);
        return ReadText(text_, buffer);
    }

private:
    std::size_t rootSize_, size_;
    char text_[4096];
};

void ApplyGroup(const GroupFiles& files, GroupFolder& folder, std::uint64_t machineTotal,
                TextBuffer& buffer, PhysicalMemory& memory) noexcept {
    const std::uint64_t limit = NumberAt(folder.Read(files.limit, buffer));
    if (limit >= machineTotal) {
        return;  // none, or none that matters; an unknown one is all ones
    }
    const std::uint64_t used = NumberAt(folder.Read(files.used, buffer));
    const std::string_view details = folder.Read("memory.stat", buffer);
    ApplyLimit(memory, limit, used, FieldOf(details, files.reclaimable, 1));
}

/// Walks from the process's own group up. In a container whose group is mounted as the root, the
/// path may name nothing below it; the walk then finds the root itself.
void ApplyGroups(PhysicalMemory& memory, TextBuffer& buffer) noexcept {
    const std::string_view own = ReadText("/proc/self/cgroup", buffer);
    const std::uint64_t machineTotal = memory.total;
    for (const GroupFiles& files : kGroupFiles) {
        if (const std::optional<std::string_view> group = GroupPathOf(own, files.kind)) {
            GroupFolder folder(files.root, *group);
            do {
                ApplyGroup(files, folder, machineTotal, buffer, memory);
            } while (folder.Up());
            return;
        }
    }
}

/// What the machine tells of its memory, and the limits of groups.
struct Figures {
    PhysicalMemory physical;
    std::uint64_t commitLimit, committed, freeSwap;
};

/// The buffer serves one text after the other: the stack of a thread may be small.
Figures ReadFigures(TextBuffer& buffer) noexcept {
    const std::string_view text = ReadText("/proc/meminfo", buffer);
    const auto field = [&](const char* name) { return FieldOf(text, name, 1024); };
    Figures figures{{field("MemTotal"), field("MemAvailable"), false},
                    field("CommitLimit"),
                    field("Committed_AS"),
                    field("SwapFree")};
    ApplyGroups(figures.physical, buffer);
    return figures;
}

/// What the processor offers a process in user mode.
constexpr std::uint64_t AddressSpace() noexcept {
#if defined(__x86_64__)
    return std::uint64_t{1} << 47U;
#else
    return kUnknown;
#endif
}

/// All ones, the mark of the unknown, when it does not fit.
std::uint64_t Product(std::uint64_t count, std::uint64_t size) noexcept {
    std::uint64_t bytes = 0;
    return __builtin_mul_overflow(count, size, &bytes) ? kUnknown : bytes;
}

void QueryAddressSpace(MemoryBytes& bytes, TextBuffer& buffer) noexcept {
    rlimit limit{};
    bytes.totalVirtual = AddressSpace();
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        bytes.totalVirtual = std::min<std::uint64_t>(bytes.totalVirtual, limit.rlim_cur);
    }
    const std::uint64_t pages = NumberAt(ReadText("/proc/self/statm", buffer));
    const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    bytes.availableVirtual = Remaining(bytes.totalVirtual, Product(pages, pageSize));
}

/// Splits a moment by a function of the C library.
apr_status_t Split(apr_time_exp_t& date, apr_time_t moment,
                   tm* (*split)(const time_t*, tm*)) noexcept {
    // A moment between two seconds belongs to the one before it, also before 1970, where dividing
    // rounds the other way.
    const auto rest = static_cast<int>(moment % APR_USEC_PER_SEC);
    const auto second = static_cast<time_t>(moment / APR_USEC_PER_SEC - (rest < 0 ? 1 : 0));
    tm parts{};
    if (split(&second, &parts) == nullptr) {
        return errno;
    }
    date = {rest < 0 ? rest + static_cast<int>(APR_USEC_PER_SEC) : rest,
            parts.tm_sec,
            parts.tm_min,
            parts.tm_hour,
            parts.tm_mday,
            parts.tm_mon,
            parts.tm_year,
            parts.tm_wday,
            parts.tm_yday,
            parts.tm_isdst,
            static_cast<apr_int32_t>(parts.tm_gmtoff)};
    return APR_SUCCESS;
}

}  // namespace

MemoryBytes QueryMemory() noexcept {
    const Uncancelled uncancelled;
    TextBuffer buffer;
    const Figures figures = ReadFigures(buffer);
    MemoryBytes bytes;
    bytes.totalPhysical = figures.physical.total;
    bytes.availablePhysical = figures.physical.available;
    bytes.totalPaging = figures.commitLimit;
    bytes.availablePaging = Remaining(figures.commitLimit, figures.committed);
    QueryAddressSpace(bytes, buffer);
    return bytes;
}

std::uint64_t AvailableForSegments() noexcept {
    const Uncancelled uncancelled;
    TextBuffer buffer;
    const Figures figures = ReadFigures(buffer);
    const std::uint64_t available = figures.physical.available;
    if (figures.physical.limited || figures.freeSwap > kUnknown - available) {
        return available;
    }
    return available + figures.freeSwap;
}

bool QueryDisk(const char* path, DiskBytes& disk) noexcept {
    const Uncancelled uncancelled;
    struct statvfs facts {};
    int result = 0;
    do {
        result = statvfs(path, &facts);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        return false;
    }
    disk.available = Product(facts.f_bavail, facts.f_frsize);
    disk.total = Product(facts.f_blocks, facts.f_frsize);
    return true;
}

int NumberOfProcessors() noexcept {
    return static_cast<int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 0L));
}

CpuRegisters Cpuid(std::uint32_t leaf) noexcept {
    CpuRegisters registers;
#if defined(__x86_64__) || defined(__i386__)
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
#else
    static_cast<void>(leaf);
#endif
    return registers;
}

apr_status_t UniversalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    return Split(date, moment, gmtime_r);
}

apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    return Split(date, moment, localtime_r);
}

void ReadTimeZone() noexcept {
    tzset();
}

}  // namespace zukel::platform
