#include "platform/MappedFiles.h"

#include "platform/windows/Handle.h"
#include "platform/windows/HandleOf.h"

namespace zukel::platform {

apr_status_t MapFile(FileHandle file, bool writes, long long offset, std::size_t size,
                     FileView& view) noexcept {
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    const std::size_t lead = static_cast<std::size_t>(offset) % system.dwAllocationGranularity;
    const auto start = static_cast<std::uint64_t>(offset) - lead;
    const Handle mapping(CreateFileMappingW(
        HandleOf(file), nullptr, writes ? PAGE_READWRITE : PAGE_READONLY, 0, 0, nullptr));
    if (!mapping) {
        return LastStatus();
    }
    void* const base =
        MapViewOfFile(mapping.Get(), writes ? FILE_MAP_READ | FILE_MAP_WRITE : FILE_MAP_READ,
                      static_cast<DWORD>(start >> 32U), static_cast<DWORD>(start), lead + size);
    if (base == nullptr) {
        return LastStatus();
    }
    view.address = static_cast<char*>(base) + lead;
    view.size = size;
    view.lead = lead;
    if (writes) {
        view.file = std::move(file);
    }
    return APR_SUCCESS;
}

apr_status_t SyncView(const FileView& view) noexcept {
    char* const base = static_cast<char*>(view.address) - view.lead;
    const bool synced = FlushViewOfFile(base, view.lead + view.size) != 0 &&
                        FlushFileBuffers(HandleOf(view.file)) != 0;
    return synced ? APR_SUCCESS : LastStatus();
}

void UnmapView(FileView& view) noexcept {
    if (view.address != nullptr) {
        UnmapViewOfFile(static_cast<char*>(view.address) - view.lead);
        view.address = nullptr;
    }
}

}  // namespace zukel::platform
