#include "platform/Machine.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string_view>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MemoryFigures.h"

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

std::string_view ReadGroupFile(const GroupFiles& files, std::string_view group, const char* name,
                               TextBuffer& buffer) noexcept {
    char path[4096];
    const int length = std::snprintf(path, sizeof path, "%s%.*s/%s", files.root,
                                     static_cast<int>(group.size()), group.data(), name);
    const bool fits = length > 0 && static_cast<std::size_t>(length) < sizeof path;
    return fits ? ReadText(path, buffer) : std::string_view();
}

void ApplyGroup(const GroupFiles& files, std::string_view group, std::uint64_t machineTotal,
                PhysicalMemory& memory) noexcept {
    TextBuffer buffer;
    const std::uint64_t limit = NumberAt(ReadGroupFile(files, group, files.limit, buffer));
    if (limit >= machineTotal) {
        return;  // none, or none that matters; an unknown one is all ones
    }
    const std::uint64_t used = NumberAt(ReadGroupFile(files, group, files.used, buffer));
    const std::string_view details = ReadGroupFile(files, group, "memory.stat", buffer);
    ApplyLimit(memory, limit, used, FieldOf(details, files.reclaimable, 1));
}

/// Walks from the process's own group up. In a container whose group is mounted as the root, the
/// path may name nothing below it; the walk then finds the root itself.
void ApplyGroups(PhysicalMemory& memory) noexcept {
    TextBuffer buffer;
    const std::string_view own = ReadText("/proc/self/cgroup", buffer);
    const std::uint64_t machineTotal = memory.total;
    for (const GroupFiles& files : kGroupFiles) {
        std::optional<std::string_view> group = GroupPathOf(own, files.kind);
        if (!group) {
            continue;
        }
        for (; !group->empty(); group = group->substr(0, group->rfind('/'))) {
            ApplyGroup(files, *group, machineTotal, memory);
        }
        ApplyGroup(files, *group, machineTotal, memory);
        return;
    }
}

PhysicalMemory QueryPhysical(std::string_view figures) noexcept {
    PhysicalMemory memory{FieldOf(figures, "MemTotal", 1024),
                          FieldOf(figures, "MemAvailable", 1024), false};
    ApplyGroups(memory);
    return memory;
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

void QueryAddressSpace(MemoryBytes& bytes) noexcept {
    rlimit limit{};
    bytes.totalVirtual = AddressSpace();
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        bytes.totalVirtual = std::min<std::uint64_t>(bytes.totalVirtual, limit.rlim_cur);
    }
    TextBuffer buffer;
    const std::uint64_t pages = NumberAt(ReadText("/proc/self/statm", buffer));
    const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    bytes.availableVirtual = Remaining(bytes.totalVirtual, Product(pages, pageSize));
}

}  // namespace

MemoryBytes QueryMemory() noexcept {
    TextBuffer buffer;
    const std::string_view figures = ReadText("/proc/meminfo", buffer);
    const PhysicalMemory physical = QueryPhysical(figures);
    MemoryBytes bytes;
    bytes.totalPhysical = physical.total;
    bytes.availablePhysical = physical.available;
    bytes.totalPaging = FieldOf(figures, "CommitLimit", 1024);
    bytes.availablePaging = Remaining(bytes.totalPaging, FieldOf(figures, "Committed_AS", 1024));
    QueryAddressSpace(bytes);
    return bytes;
}

std::uint64_t AvailableForSegments() noexcept {
    TextBuffer buffer;
    const std::string_view figures = ReadText("/proc/meminfo", buffer);
    const PhysicalMemory physical = QueryPhysical(figures);
    const std::uint64_t swap = FieldOf(figures, "SwapFree", 1024);
    if (physical.limited || swap > kUnknown - physical.available) {
        return physical.available;
    }
    return physical.available + swap;
}

bool QueryDisk(const char* path, DiskBytes& disk) noexcept {
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
    return apr_time_exp_gmt(&date, moment);
}

apr_status_t LocalDate(apr_time_exp_t& date, apr_time_t moment) noexcept {
    return apr_time_exp_lt(&date, moment);
}

void ReadTimeZone() noexcept {
    tzset();
}

}  // namespace zukel::platform
