#include "platform/SharedSegments.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MemoryFigures.h"
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

/// A mapping of a whole segment file, unmapped unless it is kept.
class Mapping {
public:
    Mapping(int file, std::uint64_t bytes) noexcept
        : base_(mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)), bytes_(bytes) {}
    ~Mapping() {
        if (*this) {
            munmap(base_, bytes_);
        }
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    explicit operator bool() const noexcept { return base_ != MAP_FAILED; }
    void* Base() const noexcept { return base_; }

    /// Releases ownership of the mapping.
    Segment Keep(const struct stat& facts) noexcept {
        char* const base = static_cast<char*>(std::exchange(base_, MAP_FAILED));
        return {base + sizeof(Word), bytes_ - sizeof(Word), {facts.st_dev, facts.st_ino}};
    }

private:
    void* base_;
    std::uint64_t bytes_;
};

/// Whether the size is possible. A file above the process's own limit would raise a signal.
bool MayHave(std::uint64_t bytes) noexcept {
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
           (limit.rlim_cur == RLIM_INFINITY || bytes <= limit.rlim_cur) &&
           (bytes < kLarge || bytes <= AvailableForSegments());
}

/// Reserves memory for the whole file. The system releases it again if a signal arrives, so a
/// second try blocks signals.
bool Reserve(int file, std::uint64_t bytes) noexcept {
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
    return error == 0;
}

/// Makes the new, empty file a complete segment of `bytes`, including the first word, and maps it.
bool Fill(int file, const struct stat& facts, std::uint64_t bytes, Segment& segment) noexcept {
    // The umask may have removed bits that the owner needs.
    if ((facts.st_mode & ALLPERMS) != kOwnerAlone && fchmod(file, kOwnerAlone) != 0) {
        return false;
    }
    Mapping mapping(file, bytes);  // before the memory is taken: the address space may be too small
    if (!mapping || !Reserve(file, bytes)) {
        return false;
    }
    // Until here the first word is zero, which marks the segment as incomplete.
    std::memcpy(mapping.Base(), &bytes, sizeof(Word));
    segment = mapping.Keep(facts);
    return true;
}

}  // namespace

bool CreateSegment(std::uint64_t size, const char* name, Segment& segment) noexcept {
    const Uncancelled uncancelled;
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    if (size > kMost - sizeof(Word) || !MayHave(size + sizeof(Word))) {
        return false;
    }
    const SegmentPath path(name);
    constexpr int kFlags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW;
    const Descriptor file(Uninterrupted([&] { return open(path.Text(), kFlags, kOwnerAlone); }));
    if (!file) {
        return false;
    }
    struct stat facts {};
    if (fstat(file.Get(), &facts) != 0 || !Fill(file.Get(), facts, size + sizeof(Word), segment)) {
        RemoveNameOf(file, path);
        return false;
    }
    return true;
}

bool AttachSegment(const char* name, Segment& segment) noexcept {
    const Uncancelled uncancelled;
    const SegmentPath path(name);
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const Descriptor file(Uninterrupted([&] { return open(path.Text(), kFlags); }));
    struct stat facts {};
    Word bytes = 0;
    // Another user could truncate the file while it is mapped: touching it would end the process.
    if (!file || fstat(file.Get(), &facts) != 0 || !IsTrusted(facts)) {
        return false;
    }
    const auto read = Uninterrupted([&] { return pread(file.Get(), &bytes, sizeof bytes, 0); });
    if (read != sizeof bytes || bytes < sizeof bytes ||
        bytes != static_cast<std::uint64_t>(facts.st_size)) {
        return false;
    }
    Mapping mapping(file.Get(), bytes);
    if (!mapping) {
        return false;
    }
    segment = mapping.Keep(facts);
    return true;
}

bool UnmapSegment(Segment& segment) noexcept {
    char* const base = static_cast<char*>(segment.address) - sizeof(Word);
    if (munmap(base, segment.size + sizeof(Word)) != 0) {
        return false;
    }
    segment.address = nullptr;
    segment.size = 0;
    return true;
}

void ReleaseSegment(Segment&) noexcept {}

}  // namespace zukel::platform
