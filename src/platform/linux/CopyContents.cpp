#include "platform/linux/CopyContents.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <new>

namespace zukel::platform {

namespace {

constexpr off_t kToTheEnd = std::numeric_limits<off_t>::max();

/// Lets the kernel copy up to `length` bytes, from and to where the descriptors stand, and sets
/// `copied` to what it has.
///
/// @returns false when it refuses (another kind of volume, a device, a file system without the
/// call) and after an error. True does not say that all is there: it takes the size of files below
/// /proc for 0.
bool CopyInKernel(int from, int to, off_t length, off_t& copied) noexcept {
    constexpr off_t kAtOnce = off_t{1} << 30;
    ssize_t moved = 1;
    for (copied = 0; copied < length && moved > 0; copied += moved > 0 ? moved : 0) {
        const auto piece = static_cast<std::size_t>(std::min(length - copied, kAtOnce));
        moved = copy_file_range(from, nullptr, to, nullptr, piece, 0);
    }
    return moved >= 0;
}

bool WriteAll(int to, const char* bytes, std::size_t size) noexcept {
    while (size > 0) {
        const ssize_t written = write(to, bytes, size);
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0) {
            errno = EIO;
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// Copies up to `length` bytes by reading and writing; fewer only at the end of the source.
bool CopyThroughMemory(int from, int to, off_t length) noexcept {
    constexpr off_t kBlock = off_t{256} * 1024;
    const std::unique_ptr<char[]> block(new (std::nothrow) char[kBlock]);
    if (!block) {
        errno = ENOMEM;
        return false;
    }
    while (length > 0) {
        const ssize_t size =
            read(from, block.get(), static_cast<std::size_t>(std::min(length, kBlock)));
        if (size == 0) {
            return true;
        }
        if (size > 0) {
            if (!WriteAll(to, block.get(), static_cast<std::size_t>(size))) {
                return false;
            }
            length -= size;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// What the kernel refuses is tried again by hand: a real error shows itself there once more.
bool CopyRange(int from, int to, off_t length) noexcept {
    off_t copied = 0;
    CopyInKernel(from, to, length, copied);
    return copied == length || CopyThroughMemory(from, to, length - copied);
}

/// Copies the data of a file with holes and leaves the holes out.
bool CopyAroundHoles(int from, int to) noexcept {
    off_t data = 0;
    while ((data = lseek(from, data, SEEK_DATA)) >= 0) {
        const off_t hole = lseek(from, data, SEEK_HOLE);
        if (hole < 0 || lseek(from, data, SEEK_SET) < 0 || lseek(to, data, SEEK_SET) < 0 ||
            !CopyRange(from, to, hole - data)) {
            return false;
        }
        data = hole;
    }
    if (errno != ENXIO) {  // which says that only a hole follows
        return false;
    }
    const off_t end = lseek(from, 0, SEEK_END);
    return end >= 0 && ftruncate(to, end) == 0;
}

/// Whether a file has fewer blocks than bytes to fill them. Compressed files have, too.
bool IsThin(const struct stat& source) noexcept {
    constexpr off_t kBytesInBlock = 512;  // whatever the file system's own block is
    return S_ISREG(source.st_mode) && source.st_blocks < source.st_size / kBytesInBlock;
}

bool IsRegular(int descriptor) noexcept {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

bool CopyContents(int from, int to, const struct stat& source) noexcept {
    if (IsThin(source) && IsRegular(to)) {
        const off_t hole = lseek(from, 0, SEEK_HOLE);
        if (lseek(from, 0, SEEK_SET) != 0) {
            return false;
        }
        if (hole >= 0 && hole < source.st_size) {
            return CopyAroundHoles(from, to);
        }
    }
    off_t copied = 0;
    if (CopyInKernel(from, to, kToTheEnd, copied) && copied > 0 && copied >= source.st_size) {
        return true;
    }
    return CopyThroughMemory(from, to, kToTheEnd);
}

}  // namespace zukel::platform
