#include "platform/Files.h"

#include <apr_file_io.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/DescriptorOf.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/Uncancelled.h"

namespace zukel::platform {

namespace {

int OpenFlags(int mode) noexcept {
    constexpr int kReadWrite = APR_FOPEN_READ | APR_FOPEN_WRITE;
    const auto flag = [mode](int bit, int meaning) { return (mode & bit) != 0 ? meaning : 0; };
    const int access = (mode & kReadWrite) == kReadWrite ? O_RDWR : flag(APR_FOPEN_WRITE, O_WRONLY);
    return access | O_CLOEXEC | flag(APR_FOPEN_CREATE, O_CREAT) | flag(APR_FOPEN_EXCL, O_EXCL) |
           flag(APR_FOPEN_APPEND, O_APPEND) | flag(APR_FOPEN_TRUNCATE, O_TRUNC) |
           flag(APR_FOPEN_NONBLOCK, O_NONBLOCK);
}

apr_status_t Opened(int descriptor, FileHandle& file) noexcept {
    if (descriptor < 0) {
        return errno;
    }
    file = FileHandle(descriptor);
    return APR_SUCCESS;
}

/// The result of a call that has transferred some bytes, or has failed.
apr_status_t Moved(ssize_t moved, std::size_t& size) noexcept {
    size = moved < 0 ? 0 : static_cast<std::size_t>(moved);
    return moved < 0 ? errno : APR_SUCCESS;
}

}  // namespace

apr_status_t OpenFileByName(const char* name, int mode, FileHandle& file) noexcept {
    constexpr mode_t kNewFile = 0666;
    if ((mode & (APR_FOPEN_READ | APR_FOPEN_WRITE)) == 0 ||
        (mode & (APR_FOPEN_EXCL | APR_FOPEN_CREATE)) == APR_FOPEN_EXCL) {
        return APR_EACCES;
    }
    return Opened(Uninterrupted([&] { return OpenDescriptor(name, OpenFlags(mode), kNewFile); }),
                  file);
}

apr_status_t MakeTemporaryFile(char* name, FileHandle& file) noexcept {
    const Uncancelled uncancelled;
    return Opened(mkostemp(name, O_CLOEXEC), file);
}

apr_status_t ReadBytes(const FileHandle& file, void* target, std::size_t& size) noexcept {
    return Moved(Uninterrupted([&] { return ReadDescriptor(DescriptorOf(file), target, size); }),
                 size);
}

apr_status_t WriteBytes(const FileHandle& file, const void* source, std::size_t& size) noexcept {
    const bool wanted = size > 0;
    const apr_status_t status = Moved(
        Uninterrupted([&] { return WriteDescriptor(DescriptorOf(file), source, size); }), size);
    // No file returns 0 here. If one did, the caller would retry for ever.
    return status == APR_SUCCESS && wanted && size == 0 ? EIO : status;
}

apr_status_t MovePosition(const FileHandle& file, Origin from, long long offset,
                          long long& position) noexcept {
    const int whence = from == Origin::Start  ? SEEK_SET
                       : from == Origin::Here ? SEEK_CUR
                                              : SEEK_END;
    const off_t place = lseek(DescriptorOf(file), offset, whence);
    if (place < 0) {
        return errno;
    }
    position = place;
    return APR_SUCCESS;
}

bool MayReadAhead(const FileHandle& file) noexcept {
    struct stat facts {};
    return fstat(DescriptorOf(file), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_size > 0;
}

apr_status_t CloseFile(FileHandle& file) noexcept {
    // On EINTR the descriptor is closed all the same: a second close could close another file.
    if (!file || CloseDescriptor(static_cast<int>(file.Release())) == 0 || errno == EINTR) {
        return APR_SUCCESS;
    }
    return errno;
}

void RemoveClosed(const char* name) noexcept {
    unlink(name);
}

int MultibyteCodePage() noexcept {
    return 65001;
}

int Utf8ToUtf16(const char*, int, char16_t*, int) noexcept {
    return 0;
}

unsigned ShortPath(const char16_t*, char16_t*, unsigned) noexcept {
    return 0;
}

}  // namespace zukel::platform
