#include "platform/FileExtents.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/linux/DescriptorOf.h"
#include "platform/linux/HeldSignals.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

// `pread` and `pwrite` are cancellation points. By number an offset goes into one register only
// where it fits.
constexpr bool kOneRegister = sizeof(long) >= sizeof(off_t);

ssize_t ReadDescriptorAt(int descriptor, void* target, std::size_t size, off_t offset) noexcept {
    if constexpr (kOneRegister) {
        return static_cast<ssize_t>(syscall(SYS_pread64, descriptor, target, size, offset));
    }
    const Uncancelled uncancelled;
    return pread(descriptor, target, size, offset);
}

ssize_t WriteDescriptorAt(int descriptor, const void* source, std::size_t size,
                          off_t offset) noexcept {
    if constexpr (kOneRegister) {
        return static_cast<ssize_t>(syscall(SYS_pwrite64, descriptor, source, size, offset));
    }
    const Uncancelled uncancelled;
    return pwrite(descriptor, source, size, offset);
}

/// The result of a call that has transferred some bytes, or has failed.
apr_status_t Moved(ssize_t moved, std::size_t& size) noexcept {
    size = moved < 0 ? 0 : static_cast<std::size_t>(moved);
    return moved < 0 ? errno : APR_SUCCESS;
}

}  // namespace

apr_status_t SyncFile(const FileHandle& file) noexcept {
    const auto sync = [&] { return syscall(SYS_fdatasync, DescriptorOf(file)); };
    return Uninterrupted(sync) == 0 ? APR_SUCCESS : errno;
}

apr_status_t QueryLength(const FileHandle& file, long long& length) noexcept {
    struct stat facts {};
    if (fstat(DescriptorOf(file), &facts) != 0) {
        return errno;
    }
    if (!S_ISREG(facts.st_mode)) {
        return APR_EINVAL;
    }
    length = facts.st_size;
    return APR_SUCCESS;
}

apr_status_t ChangeLength(const FileHandle& file, long long length) noexcept {
    const HeldSignals held{SIGXFSZ};
    const auto cut = [&] { return ftruncate(DescriptorOf(file), length); };
    if (Uninterrupted(cut) == 0) {
        return APR_SUCCESS;
    }
    const int error = errno;
    held.Discard();
    return error;
}

apr_status_t ReadBytesAt(const FileHandle& file, long long offset, void* target,
                         std::size_t& size) noexcept {
    const auto read = [&] { return ReadDescriptorAt(DescriptorOf(file), target, size, offset); };
    return Moved(Uninterrupted(read), size);
}

apr_status_t WriteBytesAt(const FileHandle& file, long long offset, const void* source,
                          std::size_t& size) noexcept {
    const bool wanted = size > 0;
    const auto write = [&] { return WriteDescriptorAt(DescriptorOf(file), source, size, offset); };
    const apr_status_t status = Moved(Uninterrupted(write), size);
    // No file returns 0 here. If one did, the caller would retry for ever.
    return status == APR_SUCCESS && wanted && size == 0 ? EIO : status;
}

}  // namespace zukel::platform
