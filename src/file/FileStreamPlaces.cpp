#include <apr_file_io.h>

#include <algorithm>

#include "file/FileStream.h"
#include "platform/FileExtents.h"

namespace zukel {

namespace {

/// Transfers all bytes, or as many as come before a call transfers none.
///
/// @param move transfers one piece: its arguments are the bytes done so far and the size of the
/// piece.
/// @param size receives the number of bytes transferred.
template <typename Move>
apr_status_t MoveAll(std::size_t& size, Move move) noexcept {
    const std::size_t wanted = std::exchange(size, 0);
    while (size < wanted) {
        std::size_t piece = std::min(wanted - size, platform::kMostAtOnce);
        const apr_status_t status = move(size, piece);
        if (status != APR_SUCCESS || piece == 0) {
            return status;
        }
        size += piece;
    }
    return APR_SUCCESS;
}

}  // namespace

/// Writes out the buffer and drops what was read ahead, so that the file's position is the
/// caller's.
apr_status_t FileStream::LeaveBuffer() noexcept {
    apr_status_t status = Flush();
    if (status == APR_SUCCESS && unwritten_ == nullptr && buffer_) {
        const auto ahead = static_cast<long long>(readable_);
        status = readable_ > 0
                     ? platform::MovePosition(file_, platform::Origin::Here, -ahead, position_)
                     : APR_SUCCESS;
        if (status == APR_SUCCESS) {
            EmptyBuffer();
        }
    }
    return status;
}

apr_status_t FileStream::Sync() noexcept {
    const apr_status_t status = Flush();
    return status == APR_SUCCESS ? platform::SyncFile(file_) : status;
}

apr_status_t FileStream::Position(long long& position) noexcept {
    const long long pending = unwritten_ != nullptr ? cursor_ - unwritten_ : 0;
    if (pending > 0 && Has(APR_FOPEN_APPEND)) {
        return Length(position);
    }
    long long place = 0;
    const apr_status_t status = platform::MovePosition(file_, platform::Origin::Here, 0, place);
    if (status == APR_SUCCESS) {
        position = place + pending - static_cast<long long>(readable_);
    }
    return status;
}

apr_status_t FileStream::Length(long long& length) noexcept {
    const long long pending = unwritten_ != nullptr ? cursor_ - unwritten_ : 0;
    long long written = 0;
    long long place = 0;
    apr_status_t status = platform::QueryLength(file_, written);
    if (status == APR_SUCCESS && pending > 0 && !Has(APR_FOPEN_APPEND)) {
        status = platform::MovePosition(file_, platform::Origin::Here, 0, place);
    } else {
        place = written;
    }
    if (status == APR_SUCCESS) {
        length = std::max(written, place + pending);
    }
    return status;
}

apr_status_t FileStream::SetLength(long long length) noexcept {
    if (!Has(APR_FOPEN_WRITE) || length < 0) {
        return APR_EINVAL;
    }
    const apr_status_t status = LeaveBuffer();
    return status == APR_SUCCESS ? platform::ChangeLength(file_, length) : status;
}

apr_status_t FileStream::ReadAt(long long offset, char* target, std::size_t& size) noexcept {
    apr_status_t status = offset < 0 ? APR_EINVAL : APR_SUCCESS;
    if (status == APR_SUCCESS && Has(APR_FOPEN_BUFFERED)) {
        status = Flush();
    }
    if (status != APR_SUCCESS) {
        size = 0;
        return status;
    }
    return MoveAll(size, [&](std::size_t done, std::size_t& piece) {
        const long long place = offset + static_cast<long long>(done);
        return platform::ReadBytesAt(file_, place, target + done, piece);
    });
}

apr_status_t FileStream::WriteAt(long long offset, const char* source, std::size_t& size) noexcept {
    apr_status_t status = offset < 0 || Has(APR_FOPEN_APPEND) ? APR_EINVAL : APR_SUCCESS;
    if (status == APR_SUCCESS && Has(APR_FOPEN_BUFFERED)) {
        status = LeaveBuffer();
    }
    if (status != APR_SUCCESS) {
        size = 0;
        return status;
    }
    return MoveAll(size, [&](std::size_t done, std::size_t& piece) {
        const long long place = offset + static_cast<long long>(done);
        return platform::WriteBytesAt(file_, place, source + done, piece);
    });
}

apr_status_t FileStream::Lock(platform::LockKind kind, long long microseconds) noexcept {
    const bool shared = kind == platform::LockKind::Shared;
    if (locker_ != kNobody || !Has(shared ? APR_FOPEN_READ : APR_FOPEN_WRITE)) {
        return APR_EINVAL;
    }
    const apr_status_t status = platform::LockWholeFile(file_, kind, microseconds);
    if (status == APR_SUCCESS) {
        locker_ = platform::CurrentProcess();
    }
    return status;
}

apr_status_t FileStream::Unlock() noexcept {
    if (locker_ == kNobody) {
        return APR_EINVAL;
    }
    apr_status_t status = Flush();
    if (status == APR_SUCCESS) {
        status = platform::UnlockWholeFile(file_);
    }
    if (status == APR_SUCCESS) {
        locker_ = kNobody;
    }
    return status;
}

}  // namespace zukel
