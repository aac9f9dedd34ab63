#include "file/kelFileRecord.h"
#include "frame/BlockSize.h"
#include "frame/StatusMapping.h"
#include "kelFile.h"

namespace platform = zukel::platform;

namespace {

/// Frame of the operations below. They do not store a status for `EndOfFile`, because in some of
/// them threads share a record.
template <typename Call>
int OnOpen(kelFileRecord& record, Call call) noexcept {
    return zukel::MapStatus(record.stream.IsOpen() ? call(record.stream) : APR_EBADF);
}

}  // namespace

int kelFile::Sync() {
    return OnOpen(*record_, [](zukel::FileStream& stream) { return stream.Sync(); });
}

int kelFile::GetPosition(long long& position) {
    return OnOpen(*record_, [&](zukel::FileStream& stream) { return stream.Position(position); });
}

int kelFile::GetLength(long long& length) {
    return OnOpen(*record_, [&](zukel::FileStream& stream) { return stream.Length(length); });
}

int kelFile::SetLength(long long length) {
    return OnOpen(*record_, [&](zukel::FileStream& stream) { return stream.SetLength(length); });
}

int kelFile::ReadAt(long long offset, void* buffer, unsigned long long& size) {
    std::size_t bytes = zukel::BlockSize(size);
    return OnOpen(*record_, [&](zukel::FileStream& stream) {
        const apr_status_t read = stream.ReadAt(offset, static_cast<char*>(buffer), bytes);
        size = bytes;
        return read;
    });
}

int kelFile::WriteAt(long long offset, const void* buffer, unsigned long long& size) {
    std::size_t bytes = zukel::BlockSize(size);
    return OnOpen(*record_, [&](zukel::FileStream& stream) {
        const apr_status_t written =
            stream.WriteAt(offset, static_cast<const char*>(buffer), bytes);
        size = bytes;
        return written;
    });
}

int kelFile::Lock(LockKind kind, long long microseconds) {
    const auto how =
        kind == LockShared ? platform::LockKind::Shared : platform::LockKind::Exclusive;
    apr_status_t status = APR_SUCCESS;
    const int mapped = OnOpen(*record_, [&](zukel::FileStream& stream) {
        return status = stream.Lock(how, microseconds);
    });
    return APR_STATUS_IS_EAGAIN(status) ? kelStatusBusy : mapped;
}

int kelFile::Unlock() {
    return OnOpen(*record_, [](zukel::FileStream& stream) { return stream.Unlock(); });
}
