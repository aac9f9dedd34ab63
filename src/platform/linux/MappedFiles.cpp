#include "platform/MappedFiles.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "platform/linux/DescriptorOf.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

apr_status_t MapFile(FileHandle file, bool writes, long long offset, std::size_t size,
                     FileView& view) noexcept {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t lead = static_cast<std::size_t>(offset) % page;
    if (size > std::numeric_limits<std::size_t>::max() - lead) {
        return ENOMEM;
    }
    const int access = PROT_READ | (writes ? PROT_WRITE : 0);
    void* const base = mmap(nullptr, lead + size, access, MAP_SHARED, DescriptorOf(file),
                            offset - static_cast<long long>(lead));
    if (base == MAP_FAILED) {
        return errno;
    }
    view.address = static_cast<char*>(base) + lead;
    view.size = size;
    view.lead = lead;
    return APR_SUCCESS;
}

apr_status_t SyncView(const FileView& view) noexcept {
    const Uncancelled uncancelled;
    char* const base = static_cast<char*>(view.address) - view.lead;
    return msync(base, view.lead + view.size, MS_SYNC) == 0 ? APR_SUCCESS : errno;
}

void UnmapView(FileView& view) noexcept {
    if (view.address != nullptr) {
        munmap(static_cast<char*>(view.address) - view.lead, view.lead + view.size);
        view.address = nullptr;
    }
}

}  // namespace zukel::platform
