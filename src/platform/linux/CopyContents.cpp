#include "platform/linux/CopyContents.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <new>

#include "platform/linux/SystemCall.h"

namespace zukel::platform {

namespace {

constexpr off_t kToTheEnd = std::numeric_limits<off_t>::max();
constexpr off_t kSmall = off_t{64} * 1024;    ///< Up to here one block in memory is fastest.
constexpr off_t kLarge = off_t{1024} * 1024;  ///< From here mapping pays.
constexpr std::size_t kPage = 4096;

/// Lets the kernel copy up to `length` bytes, from and to the positions of the descriptors, and
/// sets `copied` to how many it did.
///
/// @returns false after an error or a refusal (another file system, a sandbox). True does not mean
/// that everything was copied: some file systems report the end too early.
bool CopyInKernel(int from, int to, off_t length, off_t& copied) noexcept {
    constexpr off_t kAtOnce = off_t{1} << 30;
    ssize_t moved = 1;
    for (copied = 0; copied < length && moved > 0; copied += moved > 0 ? moved : 0) {
        const auto piece = static_cast<std::size_t>(std::min(length - copied, kAtOnce));
        moved =
            Uninterrupted([&] { return copy_file_range(from, nullptr, to, nullptr, piece, 0); });
    }
    return moved >= 0;
}

bool WriteAll(int to, const char* bytes, std::size_t size) noexcept {
    while (size > 0) {
        const ssize_t written = Uninterrupted([&] { return write(to, bytes, size); });
        if (written <= 0) {
            errno = written == 0 ? EIO : errno;
            return false;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

/// Copies up to `length` bytes by reading and writing; fewer only at the end of the source.
bool CopyThroughMemory(int from, int to, off_t length) noexcept {
    constexpr off_t kBlock = off_t{256} * 1024;  // on the heap: a thread's stack may be 16 KiB
    const std::unique_ptr<char[]> block(new (std::nothrow) char[kBlock]);
    if (!block) {
        errno = ENOMEM;
        return false;
    }
    while (length > 0) {
        const auto piece = static_cast<std::size_t>(std::min(length, kBlock));
        const ssize_t size = Uninterrupted([&] { return read(from, block.get(), piece); });
        if (size <= 0) {
            return size == 0;
        }
        if (!WriteAll(to, block.get(), static_cast<std::size_t>(size))) {
            return false;
        }
        length -= size;
    }
    return true;
}

/// What the kernel did not copy is copied through memory, where a real error recurs.
bool CopyRange(int from, int to, off_t length) noexcept {
    off_t copied = 0;
    CopyInKernel(from, to, length, copied);
    return copied == length || CopyThroughMemory(from, to, length - copied);
}

/// Copies the data of a sparse file and skips the holes.
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
    if (errno != ENXIO) {  // ENXIO: only a hole follows
        return false;
    }
    const off_t end = lseek(from, 0, SEEK_END);
    return end >= 0 && Uninterrupted([&] { return ftruncate(to, end); }) == 0;
}

/// Whether a file is sparse: its blocks hold fewer bytes than its length. True for compressed files
/// too.
bool MayBeSparse(const struct stat& source) noexcept {
    constexpr off_t kBytesInBlock = 512;  // whatever the file system's own block is
    return source.st_blocks < source.st_size / kBytesInBlock;
}

bool HasHoles(int from, const struct stat& source) noexcept {
    const off_t hole = MayBeSparse(source) ? lseek(from, 0, SEEK_HOLE) : -1;
    return hole >= 0 && hole < source.st_size;
}

/// A part of a file mapped for reading.
class Window {
public:
    Window(int file, off_t start, std::size_t size) noexcept
        : base_(mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file, start)),
          size_(size) {}
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() {
        if (base_ != MAP_FAILED) {
            munmap(base_, size_);
        }
    }

    const char* Bytes() const noexcept {
        return base_ == MAP_FAILED ? nullptr : static_cast<const char*>(base_);
    }

private:
    void* base_;
    std::size_t size_;
};

/// Writes the target straight from the pages of the source, which are copied once in this way, and
/// fill the target's page cache in large pieces. The room is reserved first, so that ext4 places it
/// at once instead of when the file is closed. Together that takes two thirds of the time of the
/// kernel's own copy there (Linux 6.18); other file systems gain nothing, and get nothing copied.
///
/// The target's size grows with what is written, so no zeros follow it. Pages lost because the
/// source was truncated make the write fail with EFAULT, without a signal.
///
/// @returns how many bytes were copied. If fewer than `size`, the caller continues with another
/// method, which finds the reason.
off_t CopyFromPages(int from, int to, off_t size) noexcept {
    constexpr off_t kWindow = off_t{2} * 1024 * 1024;  // what one entry of a page table can map
    constexpr off_t kPiece = off_t{512} * 1024;
    struct statfs volume {};
    if (size < kLarge || fstatfs(to, &volume) != 0 || volume.f_type != EXT4_SUPER_MAGIC) {
        return 0;
    }
    Uninterrupted([&] { return fallocate(to, FALLOC_FL_KEEP_SIZE, 0, size); });
    off_t copied = 0;
    for (off_t end = 0; copied < size && copied == end;) {
        const off_t start = copied;
        end = std::min(start + kWindow, size);
        const Window window(from, start, static_cast<std::size_t>(end - start));
        ssize_t written = window.Bytes() != nullptr ? 1 : 0;
        while (copied < end && written > 0) {
            const auto piece = static_cast<std::size_t>(std::min(end - copied, kPiece));
            written =
                Uninterrupted([&] { return write(to, window.Bytes() + (copied - start), piece); });
            copied += std::max<ssize_t>(written, 0);
        }
    }
    return copied;
}

}  // namespace

bool Contents::ReadFirst() noexcept {
    const off_t size = source_.st_size;
    const bool small = size > 0 && size <= kSmall && (size < off_t{kPage} || !MayBeSparse(source_));
    // One byte more than there are, so that a short read means the end.
    const std::size_t room = small ? static_cast<std::size_t>(size) + 1 : kPage;
    first_.reset(new (std::nothrow) char[room]);
    if (!first_) {
        errno = ENOMEM;
        return false;
    }
    const ssize_t got = Uninterrupted([&] { return read(from_.Get(), first_.get(), room); });
    if (got < 0) {
        return false;
    }
    firstSize_ = static_cast<std::size_t>(got);
    whole_ = got == 0 || (small && got == size);
    return true;
}

bool Contents::CoversInOneWrite(off_t targetSize) const noexcept {
    return whole_ && firstSize_ > 0 && firstSize_ <= kPage &&
           targetSize <= static_cast<off_t>(firstSize_);
}

bool Contents::WriteTo(int to, bool regular) noexcept {
    if (regular && !whole_ && S_ISREG(source_.st_mode) && source_.st_size > 0) {
        return WriteRegular(to);
    }
    return WriteAll(to, first_.get(), firstSize_) &&
           (whole_ || CopyThroughMemory(from_.Get(), to, kToTheEnd));
}

bool Contents::WriteRegular(int to) noexcept {
    if (Uninterrupted([&] { return ioctl(to, FICLONE, from_.Get()); }) == 0) {
        return true;
    }
    if (HasHoles(from_.Get(), source_)) {
        return CopyAroundHoles(from_.Get(), to);
    }
    // Start again at 0: after a first page the kernel's copy takes a third longer.
    const off_t size = source_.st_size;
    const off_t inPages = CopyFromPages(from_.Get(), to, size);
    if (lseek(from_.Get(), inPages, SEEK_SET) != inPages) {
        return false;
    }
    off_t inKernel = 0;
    const bool clean = CopyInKernel(from_.Get(), to, kToTheEnd, inKernel);
    if ((!clean || inPages + inKernel < size) && !CopyThroughMemory(from_.Get(), to, kToTheEnd)) {
        return false;
    }
    // A source that was truncated meanwhile leaves reserved room, and zeros to the end of a page.
    struct stat now {};
    off_t end = lseek(to, 0, SEEK_CUR);
    if (end < 0 || (inPages > 0 && fstat(from_.Get(), &now) != 0)) {
        return false;
    }
    end = inPages > 0 && now.st_size < inPages ? now.st_size : end;
    return end >= size || Uninterrupted([&] { return ftruncate(to, end); }) == 0;
}

}  // namespace zukel::platform
