#include "file/FileStream.h"

#include <apr_file_io.h>

#include <algorithm>
#include <new>

namespace zukel {

namespace {
using platform::kMostAtOnce;
}

void FileStream::Swap(FileStream& other) noexcept {
    std::swap(file_, other.file_);
    std::swap(mode_, other.mode_);
    std::swap(metEnd_, other.metEnd_);
    std::swap(readsAhead_, other.readsAhead_);
    std::swap(readable_, other.readable_);
    std::swap(writable_, other.writable_);
    std::swap(cursor_, other.cursor_);
    std::swap(unwritten_, other.unwritten_);
    std::swap(buffer_, other.buffer_);
    std::swap(position_, other.position_);
    std::swap(removed_, other.removed_);
    std::swap(owner_, other.owner_);
    std::swap(locker_, other.locker_);
}

FileStream::~FileStream() {
    if (owner_ != kNobody && owner_ != platform::CurrentProcess()) {
        platform::CloseFile(file_);
        Abandon();
    }
    Close();
}

/// Drops what was read ahead. The buffer must not hold bytes to be written.
void FileStream::EmptyBuffer() noexcept {
    cursor_ = buffer_.get();
    unwritten_ = nullptr;
    readable_ = 0;
    writable_ = 0;
}

apr_status_t FileStream::NeedBuffer() noexcept {
    if (!buffer_) {
        buffer_.reset(new (std::nothrow) char[kBufferSize]);
        EmptyBuffer();
    }
    return buffer_ ? APR_SUCCESS : APR_ENOMEM;
}

/// Reads once, bypassing the buffer.
apr_status_t FileStream::ReadPast(void* target, std::size_t& size) noexcept {
    if (size == 0) {
        return APR_SUCCESS;
    }
    size = std::min(size, kMostAtOnce);
    const apr_status_t status = platform::ReadBytes(file_, target, size);
    if (status != APR_SUCCESS) {
        return status;
    }
    position_ += position_ == kUnknown ? 0 : static_cast<long long>(size);
    metEnd_ = metEnd_ || size == 0;
    return size == 0 ? APR_EOF : APR_SUCCESS;
}

/// Writes once, bypassing the buffer.
apr_status_t FileStream::WritePast(const char* source, std::size_t& size) noexcept {
    size = std::min(size, kMostAtOnce);
    const apr_status_t status = platform::WriteBytes(file_, source, size);
    if (Has(APR_FOPEN_APPEND)) {
        position_ = kUnknown;
    } else if (position_ != kUnknown) {
        position_ += static_cast<long long>(size);
    }
    return status;
}

apr_status_t FileStream::Refill() noexcept {
    apr_status_t status = NeedBuffer();
    if (status == APR_SUCCESS) {
        EmptyBuffer();
        std::size_t size = kBufferSize;
        status = ReadPast(buffer_.get(), size);
        readable_ = static_cast<std::uint32_t>(size);
    }
    return status;
}

apr_status_t FileStream::ReadBuffered(char* target, std::size_t& size) noexcept {
    const std::size_t wanted = std::exchange(size, 0);
    apr_status_t status = Flush();
    while (size < wanted && status == APR_SUCCESS) {
        std::size_t piece = wanted - size;
        if (readable_ > 0) {
            piece = std::min<std::size_t>(piece, readable_);
            Take(target + size, piece);
            size += piece;
        } else if (piece >= kBufferSize) {
            EmptyBuffer();
            status = ReadPast(target + size, piece);
            size += piece;
        } else {
            status = Refill();
        }
    }
    return size > 0 ? APR_SUCCESS : status;
}

apr_status_t FileStream::Read(void* target, std::size_t& size) noexcept {
    return Has(APR_FOPEN_BUFFERED) ? ReadBuffered(static_cast<char*>(target), size)
                                   : ReadPast(target, size);
}

apr_status_t FileStream::ReadLineBuffered(char* target, std::size_t& size) noexcept {
    const std::size_t wanted = std::exchange(size, 0);
    apr_status_t status = Flush();
    while (size < wanted && status == APR_SUCCESS) {
        if (readable_ == 0) {
            status = Refill();
            continue;
        }
        std::size_t piece = wanted - size;
        const bool ends = TakeLine(target + size, piece);
        if (!ends) {
            piece = std::min<std::size_t>(piece, readable_);
            Take(target + size, piece);
        }
        size += piece;
        if (ends) {
            break;
        }
    }
    return size > 0 ? APR_SUCCESS : status;
}

/// Reads a block and moves the position back to just after the line feed. Where reading ahead is
/// not possible (a pipe), reads byte by byte, so that the rest remains for the next reader.
apr_status_t FileStream::ReadLineUnbuffered(char* target, std::size_t& size) noexcept {
    readsAhead_ = readsAhead_ || platform::MayReadAhead(file_);
    const std::size_t wanted = std::exchange(size, 0);
    apr_status_t status = APR_SUCCESS;
    char block[512];
    while (size < wanted) {
        std::size_t piece = readsAhead_ ? std::min(wanted - size, sizeof block) : 1;
        status = ReadPast(block, piece);
        if (status != APR_SUCCESS) {
            break;
        }
        const void* const feed = std::memchr(block, '\n', piece);
        const std::size_t taken =
            feed == nullptr ? piece
                            : static_cast<std::size_t>(static_cast<const char*>(feed) - block) + 1;
        if (taken < piece) {
            const auto beyond = static_cast<long long>(piece - taken);
            status = platform::MovePosition(file_, platform::Origin::Here, -beyond, position_);
            if (status != APR_SUCCESS) {
                size = 0;
                return status;
            }
        }
        std::memcpy(target + size, block, taken);
        size += taken;
        if (feed != nullptr) {
            break;
        }
    }
    return size > 0 ? APR_SUCCESS : status;
}

apr_status_t FileStream::ReadLine(char* target, std::size_t& size) noexcept {
    return Has(APR_FOPEN_BUFFERED) ? ReadLineBuffered(target, size)
                                   : ReadLineUnbuffered(target, size);
}

/// Prepares the buffer for writing at the caller's position.
apr_status_t FileStream::BeginWriting() noexcept {
    apr_status_t status = NeedBuffer();
    if (status == APR_SUCCESS && readable_ > 0) {
        const auto ahead = static_cast<long long>(readable_);
        status = platform::MovePosition(file_, platform::Origin::Here, -ahead, position_);
    }
    if (status == APR_SUCCESS) {
        EmptyBuffer();
        unwritten_ = cursor_;
        writable_ = kBufferSize;
        owner_ = owner_ != kNobody ? owner_ : platform::CurrentProcess();
    }
    return status;
}

apr_status_t FileStream::WriteBuffered(const char* source, std::size_t& size,
                                       OnFailure onFailure) noexcept {
    const std::size_t wanted = std::exchange(size, 0);
    if (!Has(APR_FOPEN_WRITE)) {
        return APR_EBADF;  // before the buffer takes bytes that could never be written
    }
    apr_status_t status = unwritten_ == nullptr ? BeginWriting() : APR_SUCCESS;
    if (APR_STATUS_IS_ESPIPE(status)) {
        // What was read ahead from a terminal cannot be read again: keep it.
        size = wanted;
        return WritePast(source, size);
    }
    if (status == APR_SUCCESS && onFailure == OnFailure::TakeNothing && wanted <= kBufferSize &&
        wanted > writable_) {
        status = Flush();
    }
    while (size < wanted && status == APR_SUCCESS) {
        std::size_t piece = wanted - size;
        if (cursor_ == unwritten_ && piece > kBufferSize) {
            status = WritePast(source + size, piece);
            size += piece;
        } else if (writable_ > 0) {
            piece = std::min<std::size_t>(piece, writable_);
            Put(source + size, piece);
            size += piece;
        } else {
            status = Flush();
        }
    }
    return status;
}

apr_status_t FileStream::Write(const void* source, std::size_t& size,
                               OnFailure onFailure) noexcept {
    const auto* const bytes = static_cast<const char*>(source);
    return Has(APR_FOPEN_BUFFERED) ? WriteBuffered(bytes, size, onFailure) : WritePast(bytes, size);
}

apr_status_t FileStream::WriteWhole(const char* source, std::size_t size) noexcept {
    apr_status_t status = APR_SUCCESS;
    do {  // at least once: writing 0 bytes to a file that is not writable must fail
        std::size_t piece = size;
        status = Write(source, piece, OnFailure::TakeNothing);
        source += piece;
        size -= piece;
    } while (size > 0 && status == APR_SUCCESS);
    return status;
}

apr_status_t FileStream::Flush() noexcept {
    while (unwritten_ != nullptr && unwritten_ < cursor_) {
        auto size = static_cast<std::size_t>(cursor_ - unwritten_);
        const apr_status_t status = WritePast(unwritten_, size);
        unwritten_ += size;
        if (status != APR_SUCCESS) {
            return status;
        }
    }
    if (unwritten_ != nullptr) {
        cursor_ = unwritten_ = buffer_.get();
        writable_ = kBufferSize;
    }
    return APR_SUCCESS;
}

apr_status_t FileStream::Seek(platform::Origin from, long long offset) noexcept {
    const apr_status_t status = Flush();
    if (status != APR_SUCCESS) {
        return status;
    }
    metEnd_ = false;
    if (from == platform::Origin::Start && position_ != kUnknown && unwritten_ == nullptr) {
        // A position within the bytes read ahead needs no new read.
        const long long beforeEnd = position_ - offset;
        const long long held = buffer_ ? cursor_ + readable_ - buffer_.get() : 0;
        if (beforeEnd >= 0 && beforeEnd <= held && held > 0) {
            cursor_ += static_cast<long long>(readable_) - beforeEnd;
            readable_ = static_cast<std::uint32_t>(beforeEnd);
            return APR_SUCCESS;
        }
    }
    long long position = 0;
    const apr_status_t moved = platform::MovePosition(file_, from, offset, position);
    if (moved == APR_SUCCESS) {
        position_ = position;
        EmptyBuffer();
    }
    return moved;
}

apr_status_t FileStream::Close() noexcept {
    if (!IsOpen()) {
        return APR_SUCCESS;
    }
    const apr_status_t flushed = Flush();
    if (locker_ != kNobody && locker_ == platform::CurrentProcess()) {
        platform::UnlockWholeFile(
            file_);  // a forked copy of the process may still have the file open
    }
    const apr_status_t closed = platform::CloseFile(file_);
    if (removed_) {
        platform::RemoveClosed(removed_->c_str());
    }
    Abandon();
    return closed != APR_SUCCESS ? closed : flushed;
}

void FileStream::Abandon() noexcept {
    file_.Release();
    removed_.reset();
    buffer_.reset();
    EmptyBuffer();
    mode_ = 0;
    owner_ = locker_ = kNobody;
    metEnd_ = readsAhead_ = false;
    position_ = 0;
}

}  // namespace zukel
