#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "platform/linux/AvailableMemory.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/Segment.h"
#include "platform/linux/SegmentNames.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

// APR (1.7.2) makes a segment in steps under its final name: mode 0644, no memory behind it, its
// size written by the first touch, which ends the process when the memory is not there. A size near
// 2^64 wraps. Attaching takes whatever it finds. So segments are made here, in APR's place and
// layout: a file in the system's shared memory whose first word is its total size.

namespace zukel::platform {

namespace {

using Word = std::uint64_t;

constexpr mode_t kOwnerAlone = S_IRUSR | S_IWUSR;

/// From this size on it is checked first whether the machine has the memory. Reserving more does
/// not fail: the system kills processes to get it.
constexpr std::uint64_t kLarge = std::uint64_t{16} << 20U;

/// The largest file that has a length, and that addresses reach to the end of.
constexpr std::uint64_t kMost = std::min<std::uint64_t>(std::numeric_limits<off_t>::max(),
                                                        std::numeric_limits<std::size_t>::max());

/// Maps the whole file of a segment.
///
/// @param bytes at most `kMost`.
/// @returns null with `errno` when that fails.
SegmentHandle Map(int file, const struct stat& facts, std::uint64_t bytes) noexcept {
    SegmentHandle segment(new (std::nothrow) Segment);
    if (!segment) {
        errno = ENOMEM;
        return nullptr;
    }
    segment->bytes = static_cast<std::size_t>(bytes);
    void* const base = mmap(nullptr, segment->bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (base == MAP_FAILED) {
        return nullptr;
    }
    segment->base = base;
    segment->device = facts.st_dev;
    segment->inode = facts.st_ino;
    return segment;
}

SegmentBlock BlockOf(const Segment& segment) noexcept {
    return {static_cast<char*>(segment.base) + sizeof(Word), segment.bytes - sizeof(Word)};
}

/// Whether the size is possible. A file above the process's own limit would raise a signal.
///
/// @returns 0 or the reason why not.
apr_status_t MayHave(std::uint64_t bytes) noexcept {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0) {
        return errno;
    }
    if (limit.rlim_cur != RLIM_INFINITY && bytes > limit.rlim_cur) {
        return EFBIG;
    }
    return bytes < kLarge || bytes <= AvailableForSegments() ? APR_SUCCESS : ENOMEM;
}

/// Reserves memory for the whole file. The system releases it again if a signal arrives, so a
/// second try blocks signals.
apr_status_t Reserve(int file, std::uint64_t bytes) noexcept {
    const auto length = static_cast<off_t>(bytes);
    int error = posix_fallocate(file, 0, length);
    if (error == EINTR) {
        sigset_t all;
        sigset_t former;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former);
        error = posix_fallocate(file, 0, length);
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }
    return error;
}

/// Makes the new, empty file a complete segment of `bytes`, including the first word, and maps it.
apr_status_t Fill(int file, std::uint64_t bytes, SegmentHandle& segment) noexcept {
    struct stat facts {};
    if (fstat(file, &facts) != 0) {
        return errno;
    }
    // The umask may have removed bits that the owner needs.
    if ((facts.st_mode & ALLPERMS) != kOwnerAlone && fchmod(file, kOwnerAlone) != 0) {
        return errno;
    }
    // Mapped before the memory is taken: the address space may be too small.
    SegmentHandle mapped = Map(file, facts, bytes);
    const apr_status_t status = mapped ? Reserve(file, bytes) : LastStatus();
    if (status == APR_SUCCESS) {
        // Until here the first word is zero, which marks the segment as incomplete.
        std::memcpy(mapped->base, &bytes, sizeof(Word));
        segment = std::move(mapped);
    }
    return status;
}

}  // namespace

Segment::~Segment() {
    if (base != nullptr) {
        munmap(base, bytes);
    }
}

void ReleaseSegment(Segment* segment) noexcept {
    delete segment;
}

apr_status_t CreateSegment(std::uint64_t size, const char* name, SegmentHandle& segment,
                           SegmentBlock& block) noexcept {
    const Uncancelled uncancelled;
    if (size > kMost - sizeof(Word)) {
        return EFBIG;
    }
    apr_status_t status = MayHave(size + sizeof(Word));
    if (status != APR_SUCCESS) {
        return status;
    }
    const SegmentPath path(name);
    constexpr int kFlags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW;
    const Descriptor file(Uninterrupted([&] { return open(path.Text(), kFlags, kOwnerAlone); }));
    if (!file) {
        return errno;
    }
    status = Fill(file.Get(), size + sizeof(Word), segment);
    if (status == APR_SUCCESS) {
        block = BlockOf(*segment);
    } else {
        RemoveNameOf(file, path);
    }
    return status;
}

apr_status_t AttachSegment(const char* name, SegmentHandle& segment, SegmentBlock& block) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const Descriptor file(Uninterrupted([&] { return open(path.Text(), kFlags); }));
    struct stat facts {};
    if (!file || fstat(file.Get(), &facts) != 0) {
        return errno;
    }
    // Another user could truncate the file while it is mapped: touching it would end the process.
    if (!IsTrusted(facts)) {
        return EACCES;
    }
    Word bytes = 0;
    const auto read = Uninterrupted([&] { return pread(file.Get(), &bytes, sizeof bytes, 0); });
    if (read < 0) {
        return errno;
    }
    if (read != sizeof bytes || bytes < sizeof bytes ||
        bytes != static_cast<std::uint64_t>(facts.st_size)) {
        return EINVAL;  // it is not whole
    }
    if (bytes > kMost) {
        return EFBIG;
    }
    SegmentHandle mapped = Map(file.Get(), facts, bytes);
    if (!mapped) {
        return LastStatus();
    }
    block = BlockOf(*mapped);
    segment = std::move(mapped);
    return APR_SUCCESS;
}

apr_status_t UnmapSegment(Segment& segment) noexcept {
    if (munmap(segment.base, segment.bytes) != 0) {
        return errno;
    }
    segment.base = nullptr;
    return APR_SUCCESS;
}

}  // namespace zukel::platform
