#include "kelSystem.h"

#include <algorithm>
#include <cstdint>

#include "frame/StatusMapping.h"
#include "platform/Machine.h"
#include "platform/Memory.h"

namespace {

using zukel::platform::kUnknown;

std::uint64_t Kilobytes(std::uint64_t bytes) noexcept {
    return bytes == kUnknown ? kUnknown : bytes >> 10U;
}

/// Completes one kind of memory: used is the difference of the two rounded values, and does not
/// wrap if the platform reports more available than there is.
void Fill(std::uint64_t totalBytes, std::uint64_t availableBytes, unsigned long long& total,
          unsigned long long& used, unsigned long long& available) noexcept {
    total = Kilobytes(totalBytes);
    available = Kilobytes(availableBytes);
    if (total == kUnknown || available == kUnknown) {
        used = kUnknown;
        return;
    }
    available = std::min(available, total);
    used = total - available;
}

unsigned long long Figure(unsigned long long kelMemoryInfo::*figure) noexcept {
    kelMemoryInfo info;
    kelSystem::GetMemoryDetails(info);
    return info.*figure;
}

}  // namespace

kelMemoryInfo::kelMemoryInfo()
    : totalPhysical(kUnknown),
      usedPhysical(kUnknown),
      availablePhysical(kUnknown),
      totalVirtual(kUnknown),
      usedVirtual(kUnknown),
      availableVirtual(kUnknown),
      totalPaging(kUnknown),
      usedPaging(kUnknown),
      availablePaging(kUnknown) {}

kelMemoryInfo::~kelMemoryInfo() = default;

kelMemoryInfo& kelMemoryInfo::operator=(const kelMemoryInfo& other) = default;

zuDiskInfo& zuDiskInfo::operator=(const zuDiskInfo& other) = default;

zuDiskInfo& zuDiskInfo::operator=(zuDiskInfo&& other) noexcept = default;

kelSystem& kelSystem::operator=(const kelSystem&) {
    return *this;
}

kelSystem& kelSystem::operator=(kelSystem&&) noexcept {
    return *this;
}

void kelSystem::GetMemoryDetails(kelMemoryInfo& info) {
    const zukel::platform::MemoryBytes bytes = zukel::platform::QueryMemory();
    Fill(bytes.totalPhysical, bytes.availablePhysical, info.totalPhysical, info.usedPhysical,
         info.availablePhysical);
    Fill(bytes.totalVirtual, bytes.availableVirtual, info.totalVirtual, info.usedVirtual,
         info.availableVirtual);
    Fill(bytes.totalPaging, bytes.availablePaging, info.totalPaging, info.usedPaging,
         info.availablePaging);
}

unsigned long long kelSystem::TotalPhysicalMemory() {
    return Figure(&kelMemoryInfo::totalPhysical);
}
unsigned long long kelSystem::UsedPhysicalMemory() {
    return Figure(&kelMemoryInfo::usedPhysical);
}
unsigned long long kelSystem::AvailablePhysicalMemory() {
    return Figure(&kelMemoryInfo::availablePhysical);
}
unsigned long long kelSystem::TotalVirtualMemory() {
    return Figure(&kelMemoryInfo::totalVirtual);
}
unsigned long long kelSystem::UsedVirtualMemory() {
    return Figure(&kelMemoryInfo::usedVirtual);
}
unsigned long long kelSystem::AvailableVirtualMemory() {
    return Figure(&kelMemoryInfo::availableVirtual);
}
unsigned long long kelSystem::TotalPagingMemory() {
    return Figure(&kelMemoryInfo::totalPaging);
}
unsigned long long kelSystem::UsedPagingMemory() {
    return Figure(&kelMemoryInfo::usedPaging);
}
unsigned long long kelSystem::AvailablePagingMemory() {
    return Figure(&kelMemoryInfo::availablePaging);
}

bool kelSystem::GetFreeDiskSpace(const char* path, zuDiskInfo& info) {
    zukel::platform::DiskBytes disk;
    const apr_status_t status = zukel::platform::QueryDisk(path, disk);
    if (status != APR_SUCCESS) {
        zukel::Fail(status);
        return false;
    }
    info.freeBytes = disk.available;
    info.totalBytes = disk.total;
    return true;
}
